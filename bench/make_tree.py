#!/usr/bin/env python3
"""Makes the tree of files that the measurements of versioned files use: about 20,000 files, 220 MB.

    bench/make_tree.py <folder>     the folder must not exist, or hold a tree that this made

The files are copies of headers, documents and scripts that this system has, chosen by a fixed rule, so
that a second run on the same machine makes the same tree. Where there are too few, text is made up.
"""
import argparse
import os
import pathlib
import random
import shutil
import sys

FILES = 20_000
BYTES = 220 << 20
SOURCES = ("/usr/include", "/usr/lib/python3", "/usr/lib/python3.*", "/usr/share/doc", "/usr/share/perl*",
           "/usr/share/cmake*", "/usr/lib/gcc", "/usr/share/vim", "/usr/share/gcc*", "/usr/src")
LEFT_OUT = {"__pycache__", ".git", ".hg", ".svn", ".jj", ".mirebolt"}
NOTE = "made-by-make-tree"  # beside the tree, so that the tree holds nothing but its files


def sources():
    root = pathlib.Path("/")
    for pattern in SOURCES:
        for folder in sorted(root.glob(pattern.lstrip("/"))):
            if folder.is_dir() and not folder.is_symlink():
                yield folder


def candidates():
    """Every regular file of the sources with its size, in a fixed order."""
    found = []
    for source in sources():
        for folder, folders, names in os.walk(source):
            folders[:] = sorted(name for name in folders if name not in LEFT_OUT)
            for name in sorted(names):
                path = os.path.join(folder, name)
                try:
                    path.encode()
                    if os.path.isfile(path) and not os.path.islink(path) and os.access(path, os.R_OK):
                        found.append((path, os.path.getsize(path)))
                except (OSError, UnicodeEncodeError):
                    continue
    return found


def choose(found):
    """The first FILES that are no larger than a limit, with the limit that comes nearest to BYTES."""
    def under(limit):
        return [entry for entry in found if entry[1] <= limit][:FILES]

    low, high = 1 << 10, 64 << 20
    while high - low > 512:
        middle = (low + high) // 2
        if sum(size for _, size in under(middle)) > BYTES:
            high = middle
        else:
            low = middle
    return under(low)


def made_up(root, count, total):
    """Fills up with text: words of a small vocabulary, so that it compresses like source."""
    choice = random.Random(20_000)
    words = [f"{a}{b}" for a in ("get", "set", "read", "find", "make") for b in ("_file", "_name", "(x)", ";\n")]
    for i in range(count):
        path = root / "made-up" / f"{i % 97:02d}" / f"text{i}.txt"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(" ".join(choice.choices(words, k=max(1, total // count // 8))))


def make(root):
    chosen = choose(candidates())
    for path, _ in chosen:
        target = root / path.lstrip("/")
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(path, target)
    missing = FILES - len(chosen)
    if missing > 0:
        made_up(root, missing, max(missing << 10, BYTES - sum(size for _, size in chosen)))


def ensure(root):
    """The tree, made when it is not there."""
    note = root.with_name(root.name + "." + NOTE)
    if not note.exists():
        if root.exists():
            sys.exit(f"{root} is there and was not made by this program")
        root.mkdir(parents=True)
        make(root)
        note.touch()
    return root


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    root = ensure(parser.parse_args().folder)
    files = [path for path in root.rglob("*") if path.is_file()]
    print(f"{root}: {len(files)} files, {sum(path.stat().st_size for path in files) / (1 << 20):.0f} MB")


if __name__ == "__main__":
    main()
