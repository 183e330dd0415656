<?php
// PHP's unserialize of the tree bench_script reads in the script form (10,000 records of ten
// fields). "time": prints the CPU ms per call, over about two seconds; "count N": makes N calls
// only, for an instruction counter to divide by.
$t = [];
for ($r = 0; $r < 10000; $r++) {
  $t["R$r"] = ["ID" => $r, "FIRSTNAME" => "Anna" . ($r % 97), "LASTNAME" => "Müller-$r",
    "STREET" => "Hauptstraße " . ($r % 200), "ZIPCODE" => (string)(10000 + $r % 9000), "CITY" => "Berlin",
    "AGE" => 18 + $r % 60, "SCORE" => $r * 0.25, "ACTIVE" => $r % 3 == 0, "NOTE" => "line one\r\nline \"two\""];
}
$s = serialize($t);
if (($argv[1] ?? "time") === "count") {
  for ($i = 0; $i < (int)$argv[2]; $i++) $x = unserialize($s);
  exit(0);
}
function cpu() { $r = getrusage(); return $r["ru_utime.tv_sec"] * 1e3 + $r["ru_utime.tv_usec"] / 1e3 + $r["ru_stime.tv_sec"] * 1e3 + $r["ru_stime.tv_usec"] / 1e3; }
$n = 0; $start = cpu();
do { $x = unserialize($s); $n++; } while (cpu() - $start < 2000);
printf("%.3f", (cpu() - $start) / $n);
