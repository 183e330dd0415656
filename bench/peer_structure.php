<?php
// The same work as bench_structure.cpp with PHP arrays: "name seconds bytes_per_item" lines.
$n = isset($argv[1]) ? (int)$argv[1] : 100000;
// A second argument names the one measurement to run (as bench_structure does).
$only = $argv[2] ?? "";
function wanted($name) { global $only; return $only === "" || $only === $name; }
$flat = []; $paths = [];
for ($i = 0; $i < $n; $i++) {
  $flat[] = "KEY$i";
  $paths[] = ["L1_" . ($i % 100), "L2_" . (intdiv($i, 100) % 100), "L3_$i"];
}
function best($runs, $f) {
  $best = 1e9;
  for ($r = 0; $r < $runs; $r++) { $t = hrtime(true); $f(); $best = min($best, (hrtime(true) - $t) / 1e9); }
  return $best;
}
// flat
if (wanted("flat_build") || wanted("flat_read")) {
$m0 = memory_get_usage(); $kept = null;
$build = best(wanted("flat_build") ? 5 : 1, function () use ($n, $flat, &$kept) {
  $a = []; for ($i = 0; $i < $n; $i++) $a[$flat[$i]] = $i; $kept = $a;
});
$m1 = memory_get_usage();
$read = best(wanted("flat_read") ? 5 : 0, function () use ($n, $flat, &$kept) {
  $s = 0; for ($i = 0; $i < $n; $i++) $s += $kept[$flat[$i]];
  if ($s != $n * ($n - 1) / 2) fwrite(STDERR, "wrong sum $s\n");
});
if (wanted("flat_build")) printf("flat_build %.6f %.1f\n", $build, ($m1 - $m0) / $n);
if (wanted("flat_read")) printf("flat_read %.6f\n", $read);
$kept = null;
}
// 3-level paths
if (wanted("paths_build") || wanted("paths_read")) {
$m0 = memory_get_usage();
$build = best(wanted("paths_build") ? 5 : 1, function () use ($n, $paths, &$kept) {
  $a = []; for ($i = 0; $i < $n; $i++) { $p = $paths[$i]; $a[$p[0]][$p[1]][$p[2]] = $i; } $kept = $a;
});
$m1 = memory_get_usage();
$read = best(wanted("paths_read") ? 5 : 0, function () use ($n, $paths, &$kept) {
  $s = 0; for ($i = 0; $i < $n; $i++) { $p = $paths[$i]; $s += $kept[$p[0]][$p[1]][$p[2]]; }
  if ($s != $n * ($n - 1) / 2) fwrite(STDERR, "wrong sum $s\n");
});
if (wanted("paths_build")) printf("paths_build %.6f %.1f\n", $build, ($m1 - $m0) / $n);
if (wanted("paths_read")) printf("paths_read %.6f\n", $read);
}
// 1,000,000 small arrays
if (wanted("handles_1M")) {
  $handles = best(3, function () { $v = []; for ($i = 0; $i < 1000000; $i++) $v[] = []; });
  printf("handles_1M %.6f\n", $handles);
}
