<?php
// The same work as bench_structure.cpp with PHP arrays: "name seconds bytes_per_item" lines.
$n = isset($argv[1]) ? (int)$argv[1] : 100000;
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
$m0 = memory_get_usage(); $kept = null;
$build = best(5, function () use ($n, $flat, &$kept) {
  $a = []; for ($i = 0; $i < $n; $i++) $a[$flat[$i]] = $i; $kept = $a;
});
$m1 = memory_get_usage();
$read = best(5, function () use ($n, $flat, &$kept) {
  $s = 0; for ($i = 0; $i < $n; $i++) $s += $kept[$flat[$i]];
  if ($s != $n * ($n - 1) / 2) fwrite(STDERR, "wrong sum $s\n");
});
printf("flat_build %.6f %.1f\nflat_read %.6f\n", $build, ($m1 - $m0) / $n, $read);
$kept = null;
// 3-level paths
$m0 = memory_get_usage();
$build = best(5, function () use ($n, $paths, &$kept) {
  $a = []; for ($i = 0; $i < $n; $i++) { $p = $paths[$i]; $a[$p[0]][$p[1]][$p[2]] = $i; } $kept = $a;
});
$m1 = memory_get_usage();
$read = best(5, function () use ($n, $paths, &$kept) {
  $s = 0; for ($i = 0; $i < $n; $i++) { $p = $paths[$i]; $s += $kept[$p[0]][$p[1]][$p[2]]; }
  if ($s != $n * ($n - 1) / 2) fwrite(STDERR, "wrong sum $s\n");
});
printf("paths_build %.6f %.1f\npaths_read %.6f\n", $build, ($m1 - $m0) / $n, $read);
// 1,000,000 small arrays
$handles = best(3, function () { $v = []; for ($i = 0; $i < 1000000; $i++) $v[] = []; });
printf("handles_1M %.6f\n", $handles);
