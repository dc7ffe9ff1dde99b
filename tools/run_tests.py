#!/usr/bin/env python3
"""Builds what is tested and runs everything; the last line is `N passed, N failed` over all of it.

    tools/run_tests.py                        all suites
    tools/run_tests.py --only unit,asan       some: see SUITES below
    tools/run_tests.py --fuzz-seconds 60      longer fuzzing

A step that cannot run (a build that breaks, a program that crashes) counts as one failure.
"""
import argparse
import dataclasses
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build"
RESULTS = BUILD / "results"
WINE = "/usr/lib/wine/wine64"
WINE_ENV = {"WINEDEBUG": "-all", "WINEPREFIX": str(BUILD / "wine"), "DISPLAY": "",
            "WINEDLLOVERRIDES": "mscoree=;mshtml=;winemenubuilder.exe="}
# Unit tests write and flush many small files: in memory that costs nothing.
SHM = pathlib.Path("/dev/shm")
MEMORY_DISK = {"TMPDIR": str(SHM)} if SHM.is_dir() and shutil.disk_usage(SHM).free > 1 << 30 else {}
# The folders whose code runs on several threads at once.
THREADED = ["platform_tests", "memory_tests", "vfs_tests", "chat_tests", "server_tests", "mcp_tests",
            "workstation_tests"]
UNIT = sorted({f"{path.name.split('_')[0]}_tests" for path in ROOT.glob("tests/unit/*_test.cpp")})
# What users run, with the unit tests beside it: two builds less than one each.
NATIVE = "test"


@dataclasses.dataclass
class Tally:
    passed: int = 0
    failed: int = 0

    def add(self, other):
        self.passed += other.passed
        self.failed += other.failed


FAILURE = Tally(0, 1)
_presets_built = set()


def run(command, **options):
    environment = {**os.environ, **options.pop("env", {})}
    return subprocess.run([str(word) for word in command], cwd=ROOT, env=environment,
                          stdin=subprocess.DEVNULL, check=False, **options)


def quietly(command, **options):
    """Runs a command whose output matters only when it fails."""
    result = run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    if result.returncode != 0:
        print(result.stdout)
    return result.returncode == 0


def build(preset, targets=()):
    if preset not in _presets_built:
        if not quietly(["cmake", "--preset", preset]):
            return False
        _presets_built.add(preset)
    target_words = ["--target", *targets] if targets else []
    return quietly(["cmake", "--build", "--preset", preset, *target_words])


def unit_program(preset, name, launcher=(), env=None):
    """One GoogleTest program, counted by its own report."""
    suffix = ".exe" if preset == "windows" else ""
    report = RESULTS / f"{preset}-{name}.json"
    report.unlink(missing_ok=True)
    program = BUILD / preset / "bin" / (name + suffix)
    arguments = [f"--gtest_output=json:{os.path.relpath(report, ROOT)}", "--gtest_brief=1"]
    result = run([*launcher, program, *arguments], env={**MEMORY_DISK, **(env or {})}, stdout=subprocess.PIPE,
                 stderr=subprocess.STDOUT, text=True, errors="replace")
    try:
        counts = json.loads(report.read_text())
        tally = Tally(counts["tests"] - counts["failures"], counts["failures"])
    except (OSError, ValueError, KeyError):
        tally = Tally(*dataclasses.astuple(FAILURE))
    if result.returncode != 0:
        print(result.stdout[-20000:])
        tally.failed = max(tally.failed, 1)
    return tally


def unit_suite(preset, names, launcher=(), env=None):
    if not build(preset, names):
        return FAILURE
    total = Tally()
    for name in names:
        total.add(unit_program(preset, name, launcher, env))
    return total


def pytest(mb, extra, env=None):
    report = RESULTS / f"e2e-{mb.name}.xml"
    report.unlink(missing_ok=True)
    result = run(["/usr/bin/python3", "-m", "pytest", "-q", "--no-header", "-p", "no:cacheprovider",
                  f"--junitxml={report}", f"--mb={mb}", *extra, "tests/e2e"],
                 env=env or {}, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    try:
        suite = ElementTree.parse(report).getroot().find("testsuite")
        failed = int(suite.get("failures")) + int(suite.get("errors"))
        tally = Tally(int(suite.get("tests")) - failed - int(suite.get("skipped")), failed)
    except (OSError, ElementTree.ParseError, AttributeError, TypeError):
        tally = Tally(*dataclasses.astuple(FAILURE))
    if result.returncode != 0:
        print(result.stdout[-20000:])
        tally.failed = max(tally.failed, 1)
    return tally


def start_wine():
    """Makes the prefix once, so that no test pays for it; the server stays for the whole suite."""
    pathlib.Path(WINE_ENV["WINEPREFIX"]).mkdir(parents=True, exist_ok=True)
    quietly([WINE, "cmd", "/c", "exit"], env=WINE_ENV, timeout=300)
    if not MEMORY_DISK:
        return
    for folder in pathlib.Path(WINE_ENV["WINEPREFIX"]).glob("drive_c/users/*/Temp"):
        if not folder.is_symlink():
            shutil.rmtree(folder)
            folder.symlink_to(SHM, target_is_directory=True)


def suite_format(_):
    files = run(["git", "ls-files", "*.cpp", "*.h"], stdout=subprocess.PIPE, text=True).stdout.split()
    total = Tally()
    for check in (["clang-format-19", "--dry-run", "-Werror", *files], ["tools/check_includes.py"],
                  ["tools/pages_style/run", "--check"]):
        total.add(Tally(1, 0) if quietly(check) else FAILURE)
    return total


def suite_unit(_):
    return unit_suite(NATIVE, UNIT)


def suite_asan(_):
    return unit_suite("asan", UNIT, env={"ASAN_OPTIONS": "detect_stack_use_after_return=1"})


def suite_tsan(_):
    return unit_suite("tsan", THREADED, env={"TSAN_OPTIONS": "halt_on_error=1"})


def suite_e2e(_):
    return pytest(BUILD / NATIVE / "bin" / "mb", []) if build(NATIVE, ["mb"]) else FAILURE


def suite_pages(_):
    """The pages in a browser, by Node's own test runner."""
    tests = ROOT / "tests" / "pages"
    if not build(NATIVE, ["mb", "pages"]):
        return FAILURE
    if not quietly(["npm", "ci", "--prefix", tests, "--ignore-scripts", "--no-audit", "--no-fund",
                    "--loglevel=error"]):
        return FAILURE
    result = run(["node", "--test", "--test-reporter=tap", *sorted(tests.glob("*.test.mjs"))],
                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                 env={**MEMORY_DISK, "MB": str(BUILD / NATIVE / "bin" / "mb")})
    counts = dict(re.findall(r"^# (pass|fail|cancelled) (\d+)$", result.stdout, re.MULTILINE))
    tally = Tally(int(counts.get("pass", 0)), int(counts.get("fail", 0)) + int(counts.get("cancelled", 0)))
    if result.returncode != 0:
        print(result.stdout[-20000:])
        tally.failed = max(tally.failed, 1)
    return tally


def suite_windows(_):
    if not build("windows"):
        return FAILURE
    start_wine()
    total = unit_suite("windows", UNIT, launcher=[WINE], env=WINE_ENV)
    total.add(pytest(BUILD / "windows" / "bin" / "mb.exe", ["-m", "smoke", f"--launcher={WINE}"],
                     env=WINE_ENV))
    quietly([WINE.replace("wine64", "wineserver"), "-k"], env=WINE_ENV)
    return total


def suite_fuzz(options):
    if not build("asan", ["fuzzers"]):
        return FAILURE
    total = Tally()
    for source in sorted(ROOT.glob("fuzz/*_fuzz.cpp")):
        program = BUILD / "asan" / "bin" / source.stem
        corpus = BUILD / "asan" / "corpus" / program.name
        corpus.mkdir(parents=True, exist_ok=True)
        seeds = ROOT / "fuzz" / "corpus" / program.name.removesuffix("_fuzz")
        passed = quietly([program, f"-max_total_time={options.fuzz_seconds}", "-timeout=20",
                          f"-artifact_prefix={corpus.parent}/", corpus, seeds])
        total.add(Tally(1, 0) if passed else FAILURE)
    return total


SUITES = {"format": suite_format, "unit": suite_unit, "e2e": suite_e2e, "pages": suite_pages, "asan": suite_asan,
          "tsan": suite_tsan, "windows": suite_windows, "fuzz": suite_fuzz}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--only", default=",".join(SUITES))
    parser.add_argument("--fuzz-seconds", type=int, default=5)
    options = parser.parse_args()
    RESULTS.mkdir(parents=True, exist_ok=True)
    total = Tally()
    for name in options.only.split(","):
        started = time.monotonic()
        tally = SUITES[name](options)
        total.add(tally)
        print(f"{name:8} {tally.passed:5} passed {tally.failed:3} failed  "
              f"{time.monotonic() - started:6.1f} s", flush=True)
    print(f"{total.passed} passed, {total.failed} failed")
    return 1 if total.failed or not total.passed else 0


if __name__ == "__main__":
    sys.exit(main())
