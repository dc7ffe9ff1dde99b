#!/usr/bin/env python3
"""MCP as agents use it, on a context of a million memos.

    bench/agents.py --mb build/bench/bin/mb [--stores build/bench/stores]

Needs wrk for the eight agents at once. The store of a million memos is made once, by memory_bench
beside mb, and copied, since the agents write into it. Prints the machine's load first.
"""
import argparse
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

from measure import Table, median, timed
from mirebolt import resident, until

INITIALIZE = json.dumps({"jsonrpc": "2.0", "id": 1, "method": "initialize", "params": {
    "protocolVersion": "2025-06-18", "capabilities": {}, "clientInfo": {"name": "bench", "version": "1"}}})


def message(tool, **arguments):
    return json.dumps({"jsonrpc": "2.0", "id": 1, "method": "tools/call",
                       "params": {"name": tool, "arguments": arguments}}).encode()


def post(running, body):
    return running.exchange(f"POST /mcp HTTP/1.1\r\nContent-Length: {len(body)}", body)


def text(running, tool, **arguments):
    answer = json.loads(post(running, message(tool, **arguments)).partition("\r\n\r\n")[2])
    return answer["result"]["content"][0]["text"]


def initialize(running):
    """Milliseconds from the start of `mb mcp` to its answer."""
    start = time.perf_counter()
    with subprocess.Popen([str(word) for word in [*running.options, "mcp"]], env=running.environment,
                          stdin=subprocess.PIPE, stdout=subprocess.PIPE) as child:
        child.stdin.write(INITIALIZE.encode() + b"\n")
        child.stdin.flush()
        line = child.stdout.readline()
        taken = (time.perf_counter() - start) * 1000
        if b'"protocolVersion"' not in line:
            sys.exit(f"mb mcp: {line}")
    return taken


def rare_words(running):
    """Words of the corpus that few memos hold."""
    topics = re.findall(r"^  (\S+)  \d+ memo", text(running, "memory.browse", context="million"), re.M)[:40]
    words = set()
    for topic in topics:
        words.update(re.findall(r"[a-z]{3,}", text(running, "memory.retrieve", context="million", topic=topic)))
    hits = {}
    for word in sorted(words)[:200]:
        found = re.match(r"OK: (\d+) memo hit", text(running, "memory.keywords", context="million", keyword=word))
        if found:
            hits[word] = int(found.group(1))
    if not hits:
        sys.exit("no rare word found in the corpus")
    return sorted(hits, key=hits.get)[:20]


def memos(running):
    return int(re.search(r"memos: +(\d+)", text(running, "memory.stats", context="million")).group(1))


def eight_agents(table, running, words, seconds):
    before = memos(running)
    output = subprocess.run(
        ["wrk", "-t2", "-c8", f"-d{seconds}s", "-s", pathlib.Path(__file__).with_name("agents.lua"),
         f"http://127.0.0.1:{running.port}", "--", *words], check=True, capture_output=True, text=True).stdout
    rate, p99, added, failed = re.search(r"^figures (\S+) (\S+) (\d+) (\d+)$", output, re.M).groups()
    table.add("eight agents at once, one call in four writes", float(rate), "/s", "at least 2500")
    table.add("  slowest of a hundred", float(p99), "ms", "at most 25")
    table.add("  calls that failed", float(failed), "", "none")
    kept = memos(running) - before
    table.add("  memos answered and not kept", max(0, int(added) - kept), "", f"none; {added} were answered")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--mb", type=pathlib.Path, required=True)
    parser.add_argument("--stores", type=pathlib.Path, default=pathlib.Path("build/bench/stores"))
    parser.add_argument("--seconds", type=int, default=10)
    parser.add_argument("--folder", type=pathlib.Path, help="where the home is made; default: a temporary one")
    options = parser.parse_args()
    options.stores.mkdir(parents=True, exist_ok=True)
    subprocess.run([options.mb.with_name("memory_bench").resolve(), f"--dir={options.stores}", "make-1m"], check=True)
    print(f"load before: {os.getloadavg()[0]:.1f}")
    table = Table()
    with tempfile.TemporaryDirectory(prefix="mb-agents-", dir=options.folder) as folder:
        home = pathlib.Path(folder, "home")
        shutil.copytree(options.stores / "million", home / ".contexts" / "million")
        with resident(options.mb.resolve(), home) as running:
            until(lambda: memos(running) == 1_000_000, "the million memos")
            words = rare_words(running)
            rare = message("memory.keywords", context="million", keyword=words[0])
            table.add("mb mcp: start to the answer of initialize", median(51, lambda _: initialize(running)),
                      remark="at most 12 ms")
            table.add("memory.add, new topics, a connection each", median(201, lambda i: timed(lambda: post(
                running, message("memory.add", context="million", topic=f"bench-{i}", content=f"note {i} of the bench")))),
                      remark="at most 1.5 ms")
            table.add("memory.keywords, a rare word", median(201, lambda _: timed(lambda: post(running, rare))),
                      remark="at most 1 ms")
            listing = b'{"jsonrpc":"2.0","id":1,"method":"tools/list"}'
            table.add("tools/list", median(201, lambda _: timed(lambda: post(running, listing))),
                      remark="at most 1.5 ms")
            if shutil.which("wrk"):
                eight_agents(table, running, words, options.seconds)
            else:
                print("wrk is not installed: no figures of eight agents")
    print(f"load after: {os.getloadavg()[0]:.1f}")


if __name__ == "__main__":
    main()
