"""Versioned files, as an editor, a build script and several agents use them."""
import json
import os
import shutil
import subprocess
import threading
import time

import pytest

from conftest import http, wait_until

ENOUGH = 120  # answered saves before the kill


def make_tree(mb, files):
    root = mb.folder / "tree"
    for name, text in files.items():
        (root / name).parent.mkdir(parents=True, exist_ok=True)
        (root / name).write_text(text)
    return root


def shown(mb, path):
    return "Z:" + str(path).replace("/", "\\") if mb.is_windows else str(path)


def versions(mb, root, path):
    """How many versions a file has."""
    first = mb.run("history", path, cwd=root).stdout.split("\n", 1)[0]
    return int(first.split("(")[1].split()[0]) if "(" in first else 0


@pytest.mark.smoke
def test_saves_of_any_program_are_versions_and_survive_a_kill(mb):
    root = make_tree(mb, {"src/a.txt": "one", "b.txt": "bee"})
    mb.serve()
    assert mb.out("enroll", shown(mb, root)).startswith(f"OK: enrolled {shown(mb, root)} — 2 file(s)")
    (root / "src/a.txt").write_text("two")
    wait_until(lambda: versions(mb, root, "src/a.txt") == 2, "the save to become a version")
    assert "saved as v3" in mb.out("write", "src/a.txt", "content:", "three", cwd=root)
    assert (root / "src/a.txt").read_text() == "three"
    (root / "b.txt").unlink()
    wait_until(lambda: versions(mb, root, "b.txt") == 2, "the delete to become a tombstone")
    mb.kill_resident()
    (root / "src/a.txt").write_text("four, while nobody watched")
    (root / "new.txt").write_text("new, too")
    mb.serve()
    assert versions(mb, root, "src/a.txt") == 4
    assert [mb.out("fsvctl:open", "src/a.txt", str(n)) for n in (1, 2, 3)] == ["one", "two", "three"]
    assert mb.out("read", "new.txt") == "new, too"
    assert mb.out("restore", "b.txt") == "OK: restored b.txt"
    assert (root / "b.txt").read_text() == "bee"
    assert mb.out("revert", "src/a.txt", "to", "1").startswith("OK: reverted src/a.txt to v1 (now v5)")
    # A relative path is looked for below the caller's folder first.
    assert mb.out("history", "a.txt", cwd=root / "src").startswith("LOG a.txt  (5 versions)")
    assert mb.run("history", "../../x", cwd=root / "src").returncode == 0


def test_a_start_that_believes_how_files_looked_sees_what_changed(mb):
    root = make_tree(mb, {"same.txt": "as it was", "other.txt": "one"})
    mb.serve()
    mb.out("enroll", shown(mb, root))
    looks = lambda: list(mb.home.glob(".versioncontrol/*/.oldversions/looks"))
    # Written once all files are older than a clock's grain.
    wait_until(lambda: looks() and b"same.txt" in looks()[0].read_bytes(), "the looks of the files")
    mb.kill_resident()
    was = (root / "other.txt").stat()
    (root / "other.txt").write_text("two")  # of the same size, and made to look of the same time
    os.utime(root / "other.txt", ns=(was.st_atime_ns, was.st_mtime_ns))
    mb.serve()
    assert versions(mb, root, "other.txt") == 2
    assert versions(mb, root, "same.txt") == 1


def test_a_kill_in_a_stream_of_saves_loses_no_answered_version(mb):
    root = make_tree(mb, {"shared.txt": "0"})
    mb.serve()
    mb.out("enroll", str(root))
    answered = []
    lock = threading.Lock()

    def write(writer):
        """Saves to one file of its own and one that all share, until nobody answers."""
        number = 0
        while True:
            number += 1
            name = "shared.txt" if number % 3 == 0 else f"of-{writer}.txt"
            text = f"writer {writer}, save {number}"
            command = f"fsmk:file <path>{name}</path><content>{text}</content>".encode()
            try:
                body = http(mb.port, f"POST /console/exec?bot=w{writer} HTTP/1.1", command)[2]
                answer = json.loads(body)["out"]
            except (OSError, ValueError, IndexError, KeyError):
                return
            if answer.startswith("OK: "):
                with lock:
                    answered.append((name, answer.split(" saved as v")[1].split()[0], text))

    writers = [threading.Thread(target=write, args=(n,)) for n in range(4)]
    for writer in writers:
        writer.start()
    wait_until(lambda: len(answered) >= ENOUGH, "enough saves to be answered")
    mb.kill_resident()
    for writer in writers:
        writer.join()
    mb.serve()
    for name, version, text in answered:
        answer = mb.out("fsvctl:open", name, version) if version != "0" else text
        assert answer == text, (name, version)
    assert len({(name, version) for name, version, _ in answered}) == len(answered)
    for name in {name for name, _, _ in answered}:
        assert mb.out("read", name) == (root / name).read_text()


def test_a_branch_switch_and_a_wiped_folder_can_be_undone(mb):
    root = make_tree(mb, {f"lib/f{n}.txt": f"text {n}\n" for n in range(40)})
    git = ["git", "-c", "user.name=t", "-c", "user.email=t@example.org", "-C", str(root)]
    for words in (["init", "-q"], ["add", "."], ["commit", "-qm", "one"], ["checkout", "-qb", "other"]):
        subprocess.run([*git, *words], check=True)
    mb.serve()
    mb.out("enroll", str(root))
    for n in range(40):
        (root / f"lib/f{n}.txt").write_text(f"changed {n}\n")
    subprocess.run([*git, "commit", "-qam", "two"], check=True)
    wait_until(lambda: " 80 version(s)" in mb.out("stats"), "the changes to be seen")
    subprocess.run([*git, "checkout", "-q", "-"], check=True)
    wait_until(lambda: " 120 version(s)" in mb.out("stats"), "the switch to be seen")
    shutil.rmtree(root / "lib")
    wait_until(lambda: " 0 file(s), 40 tombstoned" in mb.out("stats"), "the wipe to be seen")
    assert mb.out("restore", "lib/f7.txt") == "OK: restored lib/f7.txt"
    assert (root / "lib/f7.txt").read_text() == "text 7\n"
    assert mb.out("fsvctl:open", "lib/f7.txt", "2") == "changed 7\n".rstrip("\n")
    assert ".git" not in mb.out("paths")


def test_a_second_resident_on_the_same_home_follows(mb):
    root = make_tree(mb, {"f.txt": "one"})
    mb.serve()
    mb.out("enroll", str(root))
    other = mb.port + 1 if mb.port < 65000 else mb.port - 1
    mb.serve(port=other)
    assert mb.out("read", "f.txt", port=other) == "one"
    refused = mb.run("write", "f.txt", "content:", "x", port=other)
    assert refused.stdout.startswith(
        "ERROR: watcher owned by another Mirebolt process — read-only follower")
    (root / "f.txt").write_text("two")
    wait_until(lambda: versions(mb, root, "f.txt") == 2, "the save to become a version")
    time.sleep(1.5)  # one slow heal of a follower that did not follow the rule
    assert versions(mb, root, "f.txt") == 2
    assert (mb.home / ".versioncontrol").is_dir()
