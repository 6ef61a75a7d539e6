#!/usr/bin/python3
"""tympora.load against the C++ import, in one run of the clinic benchmark.

Driver: python_load.py BENCH [--sizes 100] [--runs 3]
  runs the clinic benchmark program BENCH with this script in the place of
  its Python anchor, on the same file, and prints both imports side by side:
  the C++ import (DOMDocument::load plus ImportXMLNode) and tympora.load.
  The tympora module must be importable (PYTHONPATH).
Anchor: python_load.py FILE SCHEMA [cpu|wall]
  what the benchmark calls: loads FILE with tympora.load twice and prints
  "<seconds> <peak memory growth in bytes> <records>", like its lxml anchor:
  the better time of the two loads and the memory of the first.
"""
import resource
import subprocess
import sys
import time


def count(record):
    import tympora
    return 1 + sum(count(child) for name, _, _, _ in tympora.child_lists(record)
                   for child in getattr(record, name))


def anchor(path, clock_name):
    import tympora
    clock = time.perf_counter if clock_name == "wall" else time.process_time
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    start = clock()
    clients = tympora.load(path)
    first = clock() - start
    after = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    records = count(clients)
    del clients
    # A second load in the same process, as the benchmark times the C++
    # import: the better of the two counts, like the best of its runs.
    start = clock()
    again = tympora.load(path)
    second = clock() - start
    del again
    print(f"{min(first, second):.6f} {(after - before) * 1024} {records}")


def row(lines, name):
    """The cells of the benchmark's table row of operation `name`."""
    for line in lines:
        cells = [c.strip() for c in line.strip().strip("|").split("|")]
        if len(cells) == 6 and cells[1] == name:
            return cells
    raise SystemExit(f"python_load.py: no row '{name}' in the benchmark's output")


def driver(bench, options):
    command = [bench, "--only", "import,d", "--lxml-script", __file__, "--python",
               sys.executable] + options
    out = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    lines = out.splitlines()
    cpp, py = row(lines, "import: load + ImportXMLNode"), row(lines, "(d) Python lxml parse + walk")
    print(f"file {cpp[0]}; CPU seconds (best run) and peak memory growth / file size:")
    print(f"  C++ import (load + ImportXMLNode): {cpp[3]} s, memory {cpp[5]}")
    print(f"  tympora.load:                      {py[3]} s, memory {py[5]}")
    print(f"  tympora.load / C++ import: time {float(py[3]) / float(cpp[3]):.3f}, "
          f"memory {float(py[5]) / float(cpp[5]):.3f}")


if __name__ == "__main__":
    if len(sys.argv) >= 3 and sys.argv[2].endswith(".txt"):
        anchor(sys.argv[1], sys.argv[3] if len(sys.argv) > 3 else "cpu")
    elif len(sys.argv) >= 2:
        driver(sys.argv[1], sys.argv[2:] or ["--sizes", "100"])
    else:
        sys.exit(__doc__)
