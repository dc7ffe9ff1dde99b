#!/usr/bin/env python3
"""Runs clang-tidy over the sources that a build of the tests and benchmarks compiles.

    tools/lint.py [file…]     the named files, or all
"""
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "lint"


def configure():
    subprocess.run(
        ["cmake", "-S", ROOT, "-B", BUILD, "-G", "Ninja", "-DCMAKE_CXX_COMPILER=clang++-19",
         "-DCMAKE_BUILD_TYPE=Debug", "-DMB_TESTS=ON", "-DMB_BENCH=ON", "-DMB_FUZZ=ON"],
        check=True, stdout=subprocess.DEVNULL, cwd=ROOT)


def sources(names):
    wanted = {str(pathlib.Path(name).resolve()) for name in names}
    commands = json.loads((BUILD / "compile_commands.json").read_text())
    files = sorted({command["file"] for command in commands})
    own = [name for name in files if name.startswith(str(ROOT)) and "/build/" not in name]
    return [name for name in own if not wanted or name in wanted]


def tidy(name):
    return name, subprocess.run(["clang-tidy-19", "--quiet", "-p", BUILD, name],
                                capture_output=True, text=True)


def main():
    configure()
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for name, result in pool.map(tidy, sources(sys.argv[1:])):
            if result.returncode != 0:
                failed += 1
                print(f"{os.path.relpath(name, ROOT)}:\n{result.stdout}")
    print(f"clang-tidy: {failed} file(s) with findings")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
