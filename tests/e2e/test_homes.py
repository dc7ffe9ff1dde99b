"""Homes that are not their user's alone are refused before anything is done with them."""
import os
import re
import shutil
import time

import pytest

STRANGER = 65534
WORDS = {"resident": ["serve"], "detached": ["boot"], "page": ["gui"], "terminal": ["terminal"],
         "command": ["memory.add me, notes, t, , x"], "agent": ["mcp"]}


def needs_root():
    if os.geteuid() != 0:
        pytest.skip("only root can give folders to somebody else")


def make_group_writable(home):
    home.mkdir()
    home.chmod(0o770)
    return "others may write into the data home {home}\n", "chmod go-w {home}\n"


def make_writable_by_all(home):
    home.mkdir()
    home.chmod(0o1777)
    return "others may write into the data home {home}\n", "chmod go-w {home}\n"


def make_foreign(home):
    needs_root()
    home.mkdir()
    os.chown(home, STRANGER, -1)
    return "the data home {home} belongs to ", "chown -RH 0 {home}\n"


def make_link_to_foreign(home):
    answer = make_foreign(home.with_name("elsewhere"))
    home.symlink_to("elsewhere")
    return answer


def make_file(home):
    home.write_text("")
    return "the data home {home} is no folder\n", "or move away what is there\n"


def contents(folder):
    """All names below with what they are, but the locks of residents, which lie beside the homes."""
    return {str(path): os.lstat(path)[:6] for path in folder.rglob("*") if "_resident_" not in path.name}


@pytest.mark.parametrize("words", WORDS.values(), ids=WORDS)
@pytest.mark.parametrize("make", [make_group_writable, make_writable_by_all, make_foreign,
                                  make_link_to_foreign, make_file])
def test_a_home_that_is_not_ours_alone_is_refused(mb, make, words):
    said, remedy = make(mb.home)
    before = contents(mb.folder)
    started = time.monotonic()
    done = mb.run(*words)
    assert time.monotonic() - started < 4, "it waited for a resident that was never to come"
    assert (done.returncode, done.stdout) == (1, ""), done
    assert done.stderr.startswith("Mirebolt: " + said.format(home=mb.home)), done.stderr
    assert "with --conf DIR" in done.stderr
    assert done.stderr.endswith(remedy.format(home=mb.home)), done.stderr
    assert contents(mb.folder) == before
    assert mb.resident_pids() == []


@pytest.mark.smoke
def test_a_resident_that_runs_takes_commands_of_clients_without_a_home(mb):
    mb.serve()
    open_home = mb.folder / "open"
    open_home.mkdir()
    open_home.chmod(0o777)
    unnamed = [word for word in mb.arguments("memory.striptotokens Still Served")
               if word != "--conf" and not word.endswith("home")]
    mb.environment["XDG_DATA_HOME"] = mb.environment["ProgramData"] = str(open_home)
    assert mb.run_exactly(unnamed).stdout == "OK: still served\n"
    mb.shutdown()
    refused = mb.run("memory.striptotokens Still Served", home=open_home)
    assert refused.returncode == 1
    assert "others may write into the data home" in refused.stderr
    assert ("icacls " if mb.is_windows else "chmod ") in refused.stderr
    assert list(open_home.iterdir()) == []


def test_an_older_resident_is_not_evicted_for_one_that_cannot_start(mb):
    from test_hand_off import HEAD, HEALTH, Listener
    mb.home.mkdir()
    mb.home.chmod(0o777)
    with Listener(mb.port, HEAD + HEALTH % b"1.9.9") as peer:
        done = mb.run("memory.striptotokens x")
    assert done.returncode == 1
    assert done.stderr.endswith(f"chmod go-w {mb.home}\n")
    assert not any(request.startswith(b"POST") for request in peer.requests)


@pytest.mark.smoke
def test_a_missing_home_is_made_for_its_user_alone(mb):
    previous = os.umask(0)
    try:
        mb.out("memory.add me, notes, t, , x")
    finally:
        os.umask(previous)
    folders = [mb.home, *(path for path in mb.home.rglob("*") if path.is_dir())]
    # Wine shows what the administrators may do as what the group may.
    private = 0o750 if mb.is_windows else 0o700
    assert {path.stat().st_mode & 0o777 for path in folders} == {private}
    mb.shutdown()
    assert mb.out("memory.retrieve me, notes, t") == "x"


@pytest.mark.smoke
@pytest.mark.parametrize("foreign", [True, False])
def test_the_install_home_is_passed_over_unless_it_is_ours(mb, foreign):
    install = mb.folder / "bin" / ".mirebolt"
    install.mkdir(parents=True)
    install.chmod(0o757)
    if foreign:
        needs_root()
        os.chown(install, STRANGER, -1)
    mb.command[-1] = shutil.copy2(mb.command[-1], install.parent)
    if mb.is_windows and not foreign:
        # There the folder of the executable is the place for it, so it is for its user to close it.
        refused = mb.run("memory.striptotokens x")
        assert refused.returncode == 1 and not mb.home.exists()
        assert "others may write into the install home" in refused.stderr
    else:
        mb.serve()
        assert (mb.home / "chatlogs").is_dir()
    assert list(install.iterdir()) == []


@pytest.mark.smoke
def test_the_second_user_of_a_windows_machine_gets_a_home_of_their_own(mb):
    if not mb.is_windows:
        pytest.skip("on Linux every user has a folder for data")
    needs_root()
    first = mb.folder / "Mirebolt"
    first.mkdir()
    os.chown(first, STRANGER, -1)
    shared = "Z:" + str(mb.folder).replace("/", "\\")
    executable = "Z:" + mb.command[-1].replace("/", "\\")
    done = mb.run_exactly([*mb.command[:-1], "cmd", "/c",
                           f"set ProgramData={shared}&& {executable} --port {mb.port} "
                           "memory.add me, notes, t, , x"])
    assert done.returncode == 0, done
    assert list(first.iterdir()) == []
    second, = mb.folder.glob("Mirebolt-*")
    assert re.fullmatch(r"Mirebolt-S-1-5(-\d+)+", second.name)
    assert (second / ".contexts" / "notes").is_dir()
