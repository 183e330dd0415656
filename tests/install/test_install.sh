#!/usr/bin/env bash
# Installs the build into a fresh prefix and uses only the installed copy: the C++ host example
# through find_package(rykel) and through pkg-config, the program and the Python module.
#   test_install.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
src=$1
build=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null
for f in bin/rykel include/rykel/interpreter/cls_KEL.h include/rykel/modules/mod_KELDB.h include/rykel/host/cls_DB.h \
         lib/cmake/rykel/rykelConfig.cmake lib/cmake/rykel/rykelConfigVersion.cmake \
         lib/pkgconfig/rykel.pc share/man/man1/rykel.1 lib/librykel_pdf.so lib/librykel_calc.so lib/librykel_sqlite.so; do
  [[ -e "$prefix/$f" ]] || { echo "not installed: $f"; exit 1; }
done
# Only the public headers go out: the interpreter's run stages stay in the source tree.
for f in include/rykel/interpreter/cls_KELExecutor.h include/rykel/interpreter/cls_KELState.h \
         include/rykel/query/cls_DBCondition.h include/rykel/query/mdl_DBQuery.h include/rykel/export/mdl_DBExport.h \
         include/rykel/export/cls_DBExport.h; do
  [[ ! -e "$prefix/$f" ]] || { echo "internal header installed: $f"; exit 1; }
done
# The library carries its SONAME; the development link points at the versioned file.
soname=$(objdump -p "$prefix"/lib/librykel.so | awk '/SONAME/ {print $2}')
[[ "$soname" == librykel.so.* && -e "$prefix/lib/$soname" ]] || { echo "bad SONAME: '$soname'"; exit 1; }

expected="$src/examples/cpp/expected.txt"
# CMake package.
cmake -S "$src/examples/cpp" -B "$prefix/host-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$prefix/host-cmake" >/dev/null
(cd "$src" && "$prefix/host-cmake/rykel_host" examples) | diff - "$expected"

# pkg-config.
flags=$(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs rykel)
[[ "$flags" == *"-I$prefix/include/rykel"* && "$flags" == *"-lrykel"* ]] || { echo "pkg-config: $flags"; exit 1; }
# shellcheck disable=SC2086
g++ -std=c++20 "$src/examples/cpp/host.cpp" -o "$prefix/host-pc" $flags -Wl,-rpath,"$prefix/lib"
(cd "$src" && "$prefix/host-pc" examples) | diff - "$expected"

# The program and the Python module find the installed library by themselves.
env -u LD_LIBRARY_PATH "$prefix/bin/rykel" render -e '{VAR x 2}{(x * 21)}' | grep -qx 42
pydir=$(cd "$prefix" && ls -d lib/python3*/site-packages)
env -u LD_LIBRARY_PATH PYTHONPATH="$prefix/$pydir" /usr/bin/python3 -c \
  'import rykel; k = rykel.cls_KEL(); k.MODULES.ADD(rykel.mod_KELDB()); print(k.PROCESS("{DB:COUNT}", None))' \
  | grep -q 'No database open'
# The installed library loads its exporter plug-ins from its own folder.
env -u LD_LIBRARY_PATH "$prefix/bin/rykel" db new "$prefix/p.ry-dbb" --field NAME:STRING >/dev/null
env -u LD_LIBRARY_PATH "$prefix/bin/rykel" db add "$prefix/p.ry-dbb" NAME=Anna >/dev/null
for fmt in pdf sqlite; do
  env -u LD_LIBRARY_PATH "$prefix/bin/rykel" db export "$prefix/p.ry-dbb" --format $fmt --out "$prefix/p.$fmt" >/dev/null
  [[ -s "$prefix/p.$fmt" ]] || { echo "no $fmt written by the installed program"; exit 1; }
done
echo "installed and used from $prefix"
