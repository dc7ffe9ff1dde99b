#!/usr/bin/env python3
"""Holds the order of src/: fails when two units include each other, by however many steps, and when
a file includes one of a module that its own module's USES does not name, or names one in vain.

A unit is a header and the source of the same name beside it. The implementations of the platform's
services for one system are units of their own.
"""
import collections
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SOURCE = ROOT / "src"
INCLUDE = re.compile(r'^#include "([^"]+)"', re.MULTILINE)
# iFileSystemObj answers with nodes and tables of nodes, and those are made of it.
ALLOWED_CIRCLES = [{"vfs/model/node_diff", "vfs/model/node_image", "vfs/model/nodes"}]


def read_modules():
    """What each folder that holds a module may use."""
    modules = {}
    for listing in SOURCE.rglob("CMakeLists.txt"):
        found = re.search(r"^mb_module\((\S+)(.*?)^\)|^mb_module\((\S+)(.*)\)$", listing.read_text(),
                          re.MULTILINE | re.DOTALL)
        if found:
            name, body = found[1] or found[3], found[2] or found[4]
            uses = re.search(r"\bUSES\s+([^)]*?)(?:\bSYSTEM\b|$)", body, re.DOTALL)
            modules[name] = set(uses[1].split()) if uses else set()
    return modules


def module_of(path, modules):
    """The module whose folder holds the file: the innermost one."""
    folders = [str(folder) for folder in path.parents]
    return next(folder for folder in folders if folder in modules)


def circles(graph):
    """Tarjan's strongly connected components (1972) of more than one unit."""
    sys.setrecursionlimit(10_000)
    index, low, stack, found = {}, {}, [], []

    def visit(unit):
        index[unit] = low[unit] = len(index)
        stack.append(unit)
        for other in sorted(graph[unit]):
            if other not in index:
                visit(other)
                low[unit] = min(low[unit], low[other])
            elif other in stack:
                low[unit] = min(low[unit], index[other])
        if low[unit] == index[unit]:
            place = stack.index(unit)
            if len(stack) - place > 1:
                found.append(set(stack[place:]))
            del stack[place:]

    for unit in sorted(graph):
        if unit not in index:
            visit(unit)
    return found


def main():
    modules = read_modules()
    files = {path.relative_to(SOURCE): path for path in SOURCE.rglob("*") if path.suffix in {".h", ".cpp"}}
    units = collections.defaultdict(set)
    used = collections.defaultdict(set)
    problems = []
    for name, path in sorted(files.items()):
        module = module_of(name, modules)
        for included in map(pathlib.Path, INCLUDE.findall(path.read_text())):
            if included not in files:
                problems.append(f"src/{name}: no src/{included}")
                continue
            other = module_of(included, modules)
            if other != module:
                used[module].add(other)
                if other not in modules[module]:
                    problems.append(f"src/{name}: module {module} does not name {other}")
            if included.with_suffix("") != name.with_suffix(""):
                units[str(name.with_suffix(""))].add(str(included.with_suffix("")))
        units[str(name.with_suffix(""))] |= set()
    for module, names in sorted(modules.items()):
        for vain in sorted(names - used[module]):
            problems.append(f"src/{module}/CMakeLists.txt: names {vain}, of which it includes nothing")
    for circle in circles(units):
        if circle not in ALLOWED_CIRCLES:
            problems.append("these include each other: " + ", ".join(sorted(circle)))
    print("\n".join(problems) if problems else f"{len(modules)} modules, {len(units)} units, no circle")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
