#!/usr/bin/env python3
"""Measures searches of a tree: `mb` through its resident, beside git grep and ripgrep where they are.

    bench/ask.py [--mb build/bench/bin/mb] [--dir build/bench/compare] [--only git,rg,mb]

The tree is that of bench/make_tree.py, warm in the cache. Each figure is a median of whole processes,
their output thrown away; the system's load stands with it, for nothing here is alone on its machine.
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys

import make_tree
import mirebolt
from measure import Table, median, run, timed

ROOT = pathlib.Path(__file__).resolve().parent.parent
RUNS = 7
CHANGED_FILES = 100
VERSIONS = 60
SEARCHES = (
    ("rare literal", [], "posix_fadvise"),
    ("alternatives", [], r"(malloc|calloc|realloc)\s*\("),
    ("no literal", [], "[a-z]+_[0-9]{3,}[a-z]+"),
    ("-i literal", ["-i"], "buffer"),
    ("common literal, all shown", [], "return"),
)


def add(table, label, work, runs=RUNS):
    figure = median(runs, lambda _: work())
    table.add(label, figure, remark=f"load {os.getloadavg()[0]:.1f}")


def other_rows(table, name, command, *paths):
    table.section(name)
    for label, flags, pattern in SEARCHES:
        words = [*command, *flags, "-e", pattern, *paths]
        add(table, f"{name}, {label}", lambda w=words: run(w), 3)


def git_rows(table, tree, folder):
    """git grep in a repository that has the tree committed, so that it reads the index."""
    if not (folder / ".git").exists():
        shutil.rmtree(folder, ignore_errors=True)
        shutil.copytree(tree, folder)
        for words in (["init", "-q"], ["add", "-A"],
                      ["-c", "user.name=b", "-c", "user.email=b@b", "commit", "-q", "-m", "first"]):
            subprocess.run(["git", "-C", folder, *words], check=True)
    other_rows(table, "git grep", ["git", "-C", folder, "grep", "-n", "-E"])
    add(table, "git grep, return in the headers of a commit",
        lambda: run(["git", "-C", folder, "grep", "-n", "return", "HEAD", "--", "*.h"]), 3)


def mb_rows(table, mb, tree, home):
    shutil.rmtree(home, ignore_errors=True)
    home.mkdir(parents=True)
    with mirebolt.Resident(mb, home) as resident:
        mirebolt.until(resident.is_up, "the resident to listen")
        resident.asks("enroll", tree)
        mirebolt.until(lambda: "OK" in resident.post("fsstat:stats"), "the tree to be read")
        table.section("mb")
        add(table, "mb, a command that does nothing", lambda: resident.time("fssys:whoami"), 21)
        for label, flags, pattern in SEARCHES:
            add(table, f"mb grep, {label}", lambda f=flags, p=pattern: resident.time("grep", *f, p))
        add(table, "mb grep --all-versions, rare literal",
            lambda: resident.time("grep", "--all-versions", "posix_fadvise"))
        add(table, "mb ?( name() )", lambda: resident.time('?( name()=="*.h" )'), 21)
        add(table, "mb ?( body() )", lambda: resident.time('?( body("deprecated") )'))
        add(table, "mb find keyword", lambda: resident.time("find", "keyword:deprecated"))
        history_row(table, resident, tree, home.with_name(home.name + ".changed"))


def history_row(table, resident, tree, folder):
    """Some headers, each saved again and again, and a search of all that they ever were."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    headers = sorted(path for path in tree.rglob("*.h") if 8_000 < path.stat().st_size < 16_000)[:CHANGED_FILES]
    for number, header in enumerate(headers):
        shutil.copy(header, folder / f"{number}.h")
    resident.asks("enroll", folder)
    for version in range(2, VERSIONS + 1):
        for number, header in enumerate(headers):
            text = header.read_text(errors="replace") + f"// {version}\n"
            resident.post(f"fsmk:file <path>{folder / str(number)}.h</path><content>{text}</content>")
    command = ["grep", "--all-versions", f"--store={folder}", "posix_fadvise"]
    resident.post(" ".join(command))
    taken = median(RUNS, lambda _: timed(lambda: resident.post(" ".join(command))))
    table.add("mb grep --all-versions, a version of 8 to 16 KB", taken * 1000 / (len(headers) * VERSIONS), "us",
              f"{len(headers)} files of {VERSIONS} versions, inside the resident")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--mb", type=pathlib.Path, default=ROOT / "build" / "bench" / "bin" / "mb")
    parser.add_argument("--dir", type=pathlib.Path, default=ROOT / "build" / "bench" / "compare")
    parser.add_argument("--only", default="git,rg,mb")
    options = parser.parse_args()
    work = options.dir.resolve()
    work.mkdir(parents=True, exist_ok=True)
    tree = make_tree.ensure(work / "tree")
    parts = options.only.split(",")
    table = Table()
    if "git" in parts and shutil.which("git"):
        git_rows(table, tree, work / "searched-by-git")
    if "rg" in parts and shutil.which("rg"):
        other_rows(table, "ripgrep", ["rg", "-n", "--no-ignore", "--no-config"], tree)
    if "mb" in parts:
        mb_rows(table, options.mb.resolve(), tree, work / "searched-by-mb")


if __name__ == "__main__":
    sys.exit(main())
