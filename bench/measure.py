"""What the comparing benchmarks share: timing of whole processes, medians, and the table."""
import os
import statistics
import sys
import time

QUIET = [(os.POSIX_SPAWN_OPEN, 0, os.devnull, os.O_RDONLY, 0),
         (os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0),
         (os.POSIX_SPAWN_OPEN, 2, os.devnull, os.O_WRONLY, 0)]


def run(words, environment=None):
    """Runs a program to its end, without output; its milliseconds. A program that fails ends it all."""
    words = [str(word) for word in words]
    start = time.perf_counter()
    child = os.posix_spawnp(words[0], words, environment or os.environ, file_actions=QUIET)
    status = os.waitpid(child, 0)[1]
    taken = (time.perf_counter() - start) * 1000
    if status != 0:
        sys.exit(f"failed ({status}): {' '.join(words)}")
    return taken


def median(count, work):
    """The median of what `work(i)` answers: its milliseconds."""
    return statistics.median(work(i) for i in range(count))


def timed(work):
    start = time.perf_counter()
    work()
    return (time.perf_counter() - start) * 1000


class Table:
    """Rows of label, figure and remark, printed as they come and kept by label."""

    def __init__(self):
        self.rows = {}

    def section(self, title):
        print(f"\n== {title}", flush=True)

    def add(self, label, figure, unit="ms", remark=""):
        self.rows[label] = figure
        print(f"{label:<58} {figure:10.2f} {unit:<4} {remark}", flush=True)

    def add_beside(self, label, figure, limit, factor):
        """A figure that may be `factor` times the row `limit`, when that was measured."""
        base = self.rows.get(limit)
        remark = f"{figure / base:.2f} x '{limit}' (at most {factor} x)" if base else ""
        self.add(label, figure, remark=remark)
