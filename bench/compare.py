#!/usr/bin/env python3
"""Measures versioned files beside git and beside what the system itself needs.

    bench/compare.py [--mb build/bench/bin/mb] [--only limits,git,mb] [--dir build/bench/compare]

The tree is that of bench/make_tree.py, everything is warm in the cache, and each figure is a median of
runs on a folder of its own under --dir, which has to be on the disk that is meant.
"""
import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys

import make_tree
import mirebolt
from measure import Table, median, run

ROOT = pathlib.Path(__file__).resolve().parent.parent
SMALL_TREE_FILES = 200
GIT = {**os.environ, "GIT_CONFIG_GLOBAL": os.devnull, "GIT_CONFIG_SYSTEM": os.devnull, "GIT_AUTHOR_NAME": "b",
       "GIT_AUTHOR_EMAIL": "b@b", "GIT_COMMITTER_NAME": "b", "GIT_COMMITTER_EMAIL": "b@b"}


def fresh_copy(source, target):
    shutil.rmtree(target, ignore_errors=True)
    shutil.copytree(source, target)
    os.sync()  # or the first flush that is measured pays for the copy
    return target


def small_tree(tree, target):
    """The first files of the tree, in a folder of their own."""
    shutil.rmtree(target, ignore_errors=True)
    names = sorted(path for path in tree.rglob("*") if path.is_file())[:SMALL_TREE_FILES]
    for name in names:
        copy = target / name.relative_to(tree)
        copy.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(name, copy)
    return target


def limits(table, tree, work, disk_bench):
    """What the system takes for the same work, measured without an interpreter in the way."""
    output = subprocess.run([disk_bench, tree, work], check=True, capture_output=True, text=True).stdout
    for line in output.splitlines():
        label, figure = re.match(r"(.*?) {2,}([\d.]+) ms", line).groups()
        table.add(label, float(figure))
    table.add("an empty process", median(50, lambda _: run(["true"])))


def git_in(folder):
    def git(*words):
        return run(["git", "-C", folder, "-c", "gc.auto=0", *words], GIT)
    return git


def git_enrol(folder):
    git = git_in(folder)
    shutil.rmtree(folder / ".git", ignore_errors=True)
    return git("init", "-q") + git("add", "-A") + git("commit", "-q", "-m", "first")


def git_rows(table, folder, size, enrolments):
    git = git_in(folder)
    table.add(f"git init + add + commit, {size} files", median(enrolments, lambda _: git_enrol(folder)))
    path = sorted(path for path in folder.rglob("*") if path.is_file() and ".git" not in path.parts)[0]

    def save(i):
        path.write_text(f"change {i}\n")
        return git("add", path) + git("commit", "-q", "-m", "change")

    table.add(f"git add + commit of one change, {size} files", median(11, save))
    table.add(f"git log -- p, {size} files", median(21, lambda _: git("log", "--", path)))
    name = path.relative_to(folder)
    table.add(f"git show of a version, {size} files", median(21, lambda _: git("show", f"HEAD~3:{name}")))
    table.add(f"git status, {size} files", median(11, lambda _: git("status", "--porcelain")))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--mb", type=pathlib.Path, default=ROOT / "build" / "bench" / "bin" / "mb")
    parser.add_argument("--dir", type=pathlib.Path, default=ROOT / "build" / "bench" / "compare")
    parser.add_argument("--only", default="limits,git,mb")
    options = parser.parse_args()
    work, mb = options.dir.resolve(), options.mb.resolve()
    work.mkdir(parents=True, exist_ok=True)
    tree = make_tree.ensure(work / "tree")
    few = small_tree(tree, work / "small")
    parts = options.only.split(",")
    table = Table()
    if "limits" in parts:
        table.section("the system alone, 20,000 files")
        limits(table, tree, work, mb.with_name("disk_bench"))
    if "git" in parts:
        for source, size, enrolments in ((few, SMALL_TREE_FILES, 11), (tree, make_tree.FILES, 3)):
            table.section(f"git, {size} files")
            git_rows(table, fresh_copy(source, work / "git"), size, enrolments)
            shutil.rmtree(work / "git")
    if "mb" in parts:
        for source, size in ((few, SMALL_TREE_FILES), (tree, make_tree.FILES)):
            table.section(f"mb, {size} files")
            mirebolt.rows(table, mb, fresh_copy(source, work / "mb"), size, work / "home")
            shutil.rmtree(work / "mb")


if __name__ == "__main__":
    sys.exit(main())
