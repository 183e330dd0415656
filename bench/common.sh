# Sourced by every bench/run_*.sh: the project folder as working folder, the peers' folder, the
# output folder, the inputs the peers' generators make (once, kept in build/bench), and
# bench/pairing.py on Python's path for the side-by-side tables.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
PY=/usr/bin/python3
PEERS=${RYKEL_PEERS:-../../shared/peers}
[ -d "$PEERS" ] || PEERS=/work/shared/peers
OUT=build/bench
mkdir -p "$OUT"
export PYTHONPATH=bench${PYTHONPATH:+:$PYTHONPATH}

# w3_csv [ROWS]: path of the W3 person rows as CSV (RYKEL_W3_ROWS, default 1,000,000).
w3_csv() {
  local rows=${1:-${RYKEL_W3_ROWS:-1000000}}
  local file=$OUT/w3_$rows.csv
  [ -s "$file" ] || $PY "$PEERS/w3/gen_w3.py" "$rows" "$file" 2>/dev/null
  echo "$file"
}

# w1_ser: path of the W1 records (20,000 x 10 items) as serialized text.
w1_ser() {
  local file=$OUT/w1.ser
  [ -s "$file" ] || php "$PEERS/w1/gen_w1.php" "$file" 2>/dev/null
  echo "$file"
}

# run NAME CMD...: one whole-process run under /usr/bin/time; prints "NAME seconds peak_kb" and
# keeps the program's stdout in $OUT/NAME.out.
run() {
  local name=$1; shift
  /usr/bin/time -v "$@" >"$OUT/$name.out" 2>"$OUT/$name.time"
  local wall rss
  wall=$(sed -n 's/.*Elapsed (wall clock) time (h:mm:ss or m:ss): //p' "$OUT/$name.time" |
         awk -F: '{ s = 0; for (i = 1; i <= NF; i++) s = s * 60 + $i; print s }')
  rss=$(sed -n 's/.*Maximum resident set size (kbytes): //p' "$OUT/$name.time")
  echo "$name $wall $rss"
}
