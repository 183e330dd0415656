"""Side-by-side helpers for the bench/run_*.sh scripts: timing whole processes, reading Google
Benchmark's JSON, and printing ours beside the peer with the ratio (ours / peer; below 1 is faster)."""
import json
import os
import statistics
import sys
import time


def process(cmd, env=None, stdout=None):
    """Runs cmd once; returns (wall ms, peak resident MB). stdout: a file path, else discarded."""
    t0 = time.perf_counter()
    pid = os.fork()
    if pid == 0:
        out = os.open(stdout or os.devnull, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o644)
        os.dup2(out, 1)
        os.execvpe(cmd[0], cmd, {**os.environ, **(env or {})})
    _, status, usage = os.wait4(pid, 0)
    ms = (time.perf_counter() - t0) * 1000
    if status != 0:
        sys.exit(f"{' '.join(cmd)} failed")
    return ms, usage.ru_maxrss / 1024


def timed(f, runs=5):
    """Median wall ms of runs calls of f."""
    times = []
    for _ in range(runs):
        t0 = time.perf_counter()
        f()
        times.append((time.perf_counter() - t0) * 1000)
    return statistics.median(times)


def gbench(path):
    """{benchmark name: its median aggregate (or its only run)} from Google Benchmark's JSON."""
    found = {}
    for b in json.load(open(path))["benchmarks"]:
        name = b.get("run_name", b["name"]).split("/")[0]
        if b.get("aggregate_name") == "median" or (name not in found and "aggregate_name" not in b):
            found[name] = b
    return found


def table(title, peer, rows, unit="ms", width=40):
    """Prints rows of (name, ours, peer value) under a header naming the peer, with the ratio."""
    print(f"{title:{width}}{'RyKEL ' + unit:>12}{peer + ' ' + unit:>14}{'ours/' + peer:>14}")
    for name, ours, theirs in rows:
        print(f"{name:{width}}{ours:12.1f}{theirs:14.1f}{ours / theirs:14.2f}")
