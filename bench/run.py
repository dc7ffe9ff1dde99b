#!/usr/bin/env python3
"""Runs every benchmark and prints its figures beside the ones we aim at.

    bench/run.py [--quick]     quick: leaves out the ten-million-memo store (4 GB of disk, 9 GB of memory)
"""
import argparse
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
BIN = ROOT / "build" / "bench" / "bin"
STORES = ROOT / "build" / "bench" / "stores"  # kept: making them takes longer than loading them


def section(title, command):
    print(f"\n== {title}", flush=True)
    return subprocess.run([str(word) for word in command], cwd=ROOT, check=False).returncode


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--quick", action="store_true")
    options = parser.parse_args()
    STORES.mkdir(parents=True, exist_ok=True)
    memory = [BIN / "memory_bench", f"--dir={STORES}"]
    failed = section("memory, a million memos", memory)
    if not options.quick:
        failed |= section("memory, ten million memos", [*memory, "load-10m"])
    with tempfile.TemporaryDirectory(prefix="mb-bench-") as folder:
        failed |= section("processes", [BIN / "process_bench", BIN / "mb", folder])
    failed |= section("versioned files, beside git", [sys.executable, "bench/compare.py", "--mb", BIN / "mb"])
    failed |= section("searches, beside git grep and ripgrep", [sys.executable, "bench/ask.py", "--mb", BIN / "mb"])
    failed |= section("terminals, beside tmux", [sys.executable, "bench/terminals.py", "--mb", BIN / "mb"])
    failed |= section("agents", [sys.executable, "bench/agents.py", "--mb", BIN / "mb", "--stores", STORES])
    failed |= section("http", [sys.executable, "bench/http.py", "--server", BIN / "mb"])
    failed |= section("http, for the user's own programs only",
                      [sys.executable, "bench/http.py", "--server", BIN / "mb", "--path", "/channels"])
    failed |= section("http, while the network drips", [sys.executable, "bench/drip.py", "--server", BIN / "mb"])
    failed |= section("what drives the browser", ["npm", "ci", "--prefix", "tests/pages", "--ignore-scripts", "--no-audit", "--no-fund",
                                "--loglevel=error"])
    failed |= section("pages, in a browser", ["node", "bench/pages.mjs", BIN / "mb"])
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
