#!/usr/bin/env python3
"""Measures versioned files beside git and beside what the system itself needs.

    bench/compare.py [--mb build/bench/bin/mb] [--only limits,git,mb] [--dir build/bench/compare]

The tree is that of bench/make_tree.py, everything is warm in the cache, and each figure is a median of
runs on a folder of its own under --dir, which has to be on the disk that is meant. What a run leaves
is removed at the very end: a file system may take ten times as long to make files in the minutes after
many were removed (ext4 does not reuse their inodes at once, and looks through all of them).
"""
import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import make_tree
import mirebolt
from measure import Table, median, run

ROOT = pathlib.Path(__file__).resolve().parent.parent
SMALL_TREE_FILES = 200
GIT = {**os.environ, "GIT_CONFIG_GLOBAL": os.devnull, "GIT_CONFIG_SYSTEM": os.devnull, "GIT_AUTHOR_NAME": "b",
       "GIT_AUTHOR_EMAIL": "b@b", "GIT_COMMITTER_NAME": "b", "GIT_COMMITTER_EMAIL": "b@b"}


def fresh_copy(source, target):
    shutil.copytree(source, target)
    os.sync()  # or the first flush that is measured pays for the copy
    return target


def small_tree(tree, target):
    """The first files of the tree, in a folder of their own."""
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


def git_in(folder, store):
    def git(*words):
        return run(["git", f"--git-dir={store}", f"--work-tree={folder}", "-C", folder, "-c", "gc.auto=0", *words], GIT)
    return git


def git_enrol(folder, store):
    git = git_in(folder, store)
    return git("init", "-q") + git("add", "-A") + git("commit", "-q", "-m", "first")


def git_rows(table, folder, size, enrolments, stores):
    table.add(f"git init + add + commit, {size} files",
              median(enrolments, lambda i: git_enrol(folder, stores / str(i))))
    git = git_in(folder, stores / str(enrolments - 1))
    path = sorted(path for path in folder.rglob("*") if path.is_file())[0]

    def save(i):
        path.write_text(f"change {i}\n")
        return git("add", path) + git("commit", "-q", "-m", "change")

    table.add(f"git add + commit of one change, {size} files", median(11, save))
    table.add(f"git log -- p, {size} files", median(21, lambda _: git("log", "--", path)))
    name = path.relative_to(folder)
    table.add(f"git show of a version, {size} files", median(21, lambda _: git("show", f"HEAD~3:{name}")))
    table.add(f"git status, {size} files", median(11, lambda _: git("status", "--porcelain")))


def compare(parts, tree, work, mb):
    few = small_tree(tree, work / "small")
    table = Table()
    if "limits" in parts:
        table.section("the system alone, 20,000 files")
        limits(table, tree, work, mb.with_name("disk_bench"))
    if "git" in parts:
        for source, size, enrolments in ((few, SMALL_TREE_FILES, 11), (tree, make_tree.FILES, 3)):
            table.section(f"git, {size} files")
            git_rows(table, fresh_copy(source, work / f"git-{size}"), size, enrolments, work / f"git-stores-{size}")
    if "mb" in parts:
        for source, size in ((few, SMALL_TREE_FILES), (tree, make_tree.FILES)):
            table.section(f"mb, {size} files")
            mirebolt.rows(table, mb, fresh_copy(source, work / f"mb-{size}"), size, work / f"homes-{size}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--mb", type=pathlib.Path, default=ROOT / "build" / "bench" / "bin" / "mb")
    parser.add_argument("--dir", type=pathlib.Path, default=ROOT / "build" / "bench" / "compare")
    parser.add_argument("--only", default="limits,git,mb")
    options = parser.parse_args()
    work, mb = options.dir.resolve(), options.mb.resolve()
    work.mkdir(parents=True, exist_ok=True)
    tree = make_tree.ensure(work / "tree")
    run_folder = pathlib.Path(tempfile.mkdtemp(prefix="run-", dir=work))
    try:
        compare(options.only.split(","), tree, run_folder, mb)
    finally:
        shutil.rmtree(run_folder)


if __name__ == "__main__":
    sys.exit(main())
