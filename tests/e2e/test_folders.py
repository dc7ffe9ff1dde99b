"""Commands act in their caller's own folder, and in its own data home, or not at all."""
import json
import os
import subprocess
import sys

import pytest

from conftest import http

LOST = ("ERROR: your folder could not be handed over (deleted, or its path is too long); "
        "use absolute paths")
UNTOLD = "ERROR: the caller did not say in which folder it is; use absolute paths"

FOLDERS = {
    "plain": "plain",
    "blanks": "two words",
    "long": "/".join(["x" * 100] * 6),
    "japanese": "日本語" * 16 + "/" + "日本語" * 16,
    "line feed": "a\nb",
    "percent": "100%41",
}


@pytest.mark.parametrize("name", FOLDERS)
def test_any_folder_is_the_callers_own(mb, name):
    folder = mb.folder / FOLDERS[name]
    folder.mkdir(parents=True)
    assert mb.out("!pwd", cwd=folder) == f"OK: shell output:\n{folder}"
    (folder / "here.txt").write_text("old\n")
    enrolled = mb.out("enroll", ".", cwd=folder)
    assert enrolled.startswith("OK") and str(folder) in enrolled
    mb.out("write", "new.txt", "content:", "text", cwd=folder)
    assert (folder / "new.txt").read_text() == "text"
    assert mb.out("delete", "here.txt", cwd=folder).startswith("OK: tombstoned here.txt")
    assert not (folder / "here.txt").exists()
    mb.out("memory.add me, notes, t, , text")
    mb.out("memory.export me, notes, out.mrb", cwd=folder)
    assert (folder / "out.mrb").exists()


def run_in_deleted_folder(mb, *words, stdin=""):
    """As a user whose folder another program removed."""
    code = ("import os, subprocess, sys, tempfile\n"
            "folder = tempfile.mkdtemp()\nos.chdir(folder)\nos.rmdir(folder)\n"
            "sys.exit(subprocess.run(sys.argv[1:]).returncode)")
    return subprocess.run([sys.executable, "-c", code, *mb.arguments(*words)], input=stdin, text=True,
                          capture_output=True, env=mb.environment, timeout=60, check=False)


def test_a_deleted_folder_is_no_other(mb):
    tree = mb.folder / "tree"
    tree.mkdir()
    (tree / "a.txt").write_text("kept\n")
    mb.out("enroll", str(tree))
    for words in (["!touch", "made"], ["shell", "touch made"], ["enroll", "."], ["delete", "a.txt"],
                  ["write", "b.txt", "content:", "x"], ["fs:copy", "a.txt", "c.txt"],
                  ["fs:cat", "a.txt"], ["watch", "a.txt"], ["history", "a.txt"],
                  ["grep:edit", "kept", "lost", "a.txt", "--apply"],
                  ["memory.export me, notes, out.mrb"]):
        assert run_in_deleted_folder(mb, *words).stdout.rstrip("\n") == LOST, words
    assert run_in_deleted_folder(mb, "fs:cat", str(tree / "a.txt")).stdout == "kept\n"
    assert sorted(path.name for path in tree.iterdir()) == ["a.txt"]
    assert (tree / "a.txt").read_text() == "kept\n"
    request = {"jsonrpc": "2.0", "id": 1, "method": "tools/call",
               "params": {"name": "mrb.run", "arguments": {"command": "!pwd"}}}
    answer = json.loads(run_in_deleted_folder(mb, "mcp", stdin=json.dumps(request) + "\n").stdout)
    assert answer["result"]["content"][0]["text"] == LOST


def test_who_names_no_folder_works_at_home_and_in_the_active_store(mb):
    tree = mb.folder / "tree"
    tree.mkdir()
    mb.out("enroll", str(tree))

    def ask(command, headers=""):
        return json.loads(http(mb.port, "POST /console/exec?bot=cli HTTP/1.1" + headers,
                               command.encode())[2])["out"]

    assert ask("!pwd") == f"OK: shell output:\n{mb.folder}"
    assert ask("write a.txt content: x").startswith("OK: created a.txt")
    assert (tree / "a.txt").read_text() == "x"
    assert ask("enroll .") == UNTOLD
    assert ask("memory.export me, notes, out.mrb") == UNTOLD
    for relative in ("\nX-Mrb-Cwd: tree", "\nX-Mrb-Folder: tree", "\nX-Mrb-Folder: %2Ftree%00"):
        assert ask("!pwd", relative) == LOST
    there = f"\nX-Mrb-Cwd: /\nX-Mrb-Folder: {tree}"
    assert ask("!pwd", there) == f"OK: shell output:\n{tree}"


@pytest.mark.smoke
def test_relative_paths_lie_below_the_caller(mb):
    """Two stores, the second the active one; callers in the first, below it and outside of both."""
    first, second, outside = mb.folder / "first", mb.folder / "second", mb.folder / "outside"
    for folder in (first / "src", second, outside):
        folder.mkdir(parents=True)
    for folder in (first, second):
        (folder / "README.md").write_text(f"{folder.name}\n")
        mb.out("enroll", native(mb, folder))
    src = first / "src"
    mb.out("write", "README.md", "content:", "mine", cwd=src)
    assert (src / "README.md").read_text() == "mine"
    assert (first / "README.md").read_text() == "first\n"
    mb.out("fs:move", "README.md", "GUIDE.md", cwd=src)
    assert (src / "GUIDE.md").read_text() == "mine"
    mb.out("write", "new.txt", "content:", "1", cwd=first)
    assert (first / "new.txt").read_text() == "1" and not (second / "new.txt").exists()
    assert mb.out("delete", "nowhere.txt", cwd=first) == "ERROR: no such file: nowhere.txt"
    assert mb.out("delete", "GUIDE.md", cwd=first) == "ERROR: no such file: GUIDE.md"
    below = mb.out("write", "../up.txt", "content:", "2", cwd=src)
    assert (first / "up.txt").read_text() == "2"
    assert native(mb, first / "up.txt") in below
    active = mb.out("write", "else.txt", "content:", "3", cwd=outside)
    assert (second / "else.txt").read_text() == "3"
    assert native(mb, second / "else.txt") in active
    assert native(mb, second / "else.txt") in mb.out("delete", "else.txt", cwd=outside)


def native(mb, path):
    return "Z:" + str(path).replace("/", "\\") if mb.is_windows else str(path)


@pytest.mark.smoke
def test_another_data_home_is_refused(mb):
    mb.out("memory.add me, notes, t, , text")
    other = mb.folder / "other"
    refusal = (f"the resident of port {mb.port} serves another data home ({native(mb, mb.home)}); "
               "name another --port")
    done = mb.run("memory.add me, notes, t, , elsewhere", home=other)
    assert done.stdout == f"ERROR: {refusal}\n"
    request = {"jsonrpc": "2.0", "id": 1, "method": "tools/call",
               "params": {"name": "memory.list", "arguments": {}}}
    answer = json.loads(mb.run("mcp", home=other, stdin=json.dumps(request) + "\n").stdout)
    assert refusal in answer["error"]["message"]
    assert mb.out("memory.retrieve me, notes, t") == "text"
    if not mb.is_windows:
        link = mb.folder / "link"
        os.symlink(mb.home, link)
        assert mb.out("memory.retrieve me, notes, t", home=link) == "text"
