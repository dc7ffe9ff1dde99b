"""What a user types, and what comes back on which stream with which status."""
import os
import pty
import subprocess

import pytest

from conftest import http, listens, wait_until


@pytest.mark.smoke
@pytest.mark.parametrize("port", ["0", "65536", "12ab", ""])
def test_a_bad_port_is_refused(mb, port):
    done = mb.run_exactly([*mb.command, "--port", port, "x"])
    assert done.returncode == 1
    assert done.stdout == ""
    assert done.stderr == f"Mirebolt: --port value '{port}' is not a valid port (must be 1-65535)\n"


@pytest.mark.smoke
def test_memo_survives_the_resident(mb):
    added = mb.out("memory.add", "me,", "notes,", "build,", ",", "the build needs VS 17.9")
    assert added == "OK: memory 'build' added in context(s): notes @0"
    assert mb.out("memory.retrieve me, notes, build") == "the build needs VS 17.9"
    mb.shutdown()
    assert mb.out("memory.retrieve me, notes, build") == "the build needs VS 17.9"


@pytest.mark.smoke
def test_bytes_beyond_ascii_pass_unchanged(mb):
    text = "Grüße, 東京 — “naïve” 🦊"
    mb.out("memory.add", f"me, notes, ünï, , {text}")
    assert mb.out("memory.retrieve me, notes, ünï") == text


def test_kill_minus_nine_loses_nothing(mb):
    mb.out("memory.add me, notes, t, , kept")
    assert len(mb.kill_resident()) == 1
    assert mb.out("memory.retrieve me, notes, t") == "kept"


@pytest.mark.smoke
def test_piped_lines_are_commands(mb):
    lines = "\n\r\nmemory.add me, c, t, , one\r\n\nmemory.retrieve me, c, t\n"
    done = mb.run(stdin=lines)
    assert done.returncode == 0
    assert done.stdout == "OK: memory 't' added in context(s): c @0\none\n"


def test_usage_at_a_console(mb):
    leader, follower = pty.openpty()
    done = subprocess.run(mb.arguments(), stdin=follower, capture_output=True, text=True,
                          env=mb.environment, check=False)
    os.close(leader)
    os.close(follower)
    assert done.returncode == 0
    assert done.stdout.startswith(
        "Mirebolt (mb) — persistent memory + automatic version control for your code, and a terminal."
        "\n\n  mb gui                  open the workstation UI in your browser\n")
    assert done.stdout.endswith("drives all of this automatically over MCP (mb mcp).\n")
    assert mb.resident_pids() == []


def test_locally_run_errors_end_with_status_one(mb):
    with_listener = mb_with_foreign_listener(mb)
    with with_listener:
        failed = mb.run("fs:")
        assert (failed.returncode, failed.stdout) == (1, "ERROR: no verb after 'fs:'\n")
        unknown = mb.run("frobnicate", "x")
        assert unknown.returncode == 1
        assert unknown.stderr.endswith(
            "fs parse error: unknown word 'frobnicate' — line not understood; plain English works "
            "(try: Mirebolt help)\n")
        assert mb.run("memory.striptotokens AB").returncode == 0


def mb_with_foreign_listener(mb):
    from test_hand_off import Listener
    return Listener(mb.port, b"HTTP/1.1 200 OK\r\n\r\nI am something else entirely")


def test_tools_of_other_subsystems_say_so(mb):
    for words in (["claude"], ["terminal", "claude"]):
        done = mb.run_exactly([*mb.command, "claude"]) if words == ["claude"] else mb.run(*words)
        assert done.returncode == 1
        assert done.stderr == f"ERROR: '{' '.join(words) if words[0] == 'terminal' else words[0]}' is " \
                              "not available in this build\n"


def test_version_control_alone(mb):
    """It follows what is enrolled, without a server; a memo that mentions it is kept."""
    tree = mb.folder / "tree"
    tree.mkdir()
    mb.out("enroll", str(tree))
    assert mb.out("memory.add me, notes, t, , vc:start follows files").startswith("OK")
    mb.shutdown()
    wait_until(lambda: not mb.resident_pids(), "the owner of the directory to be gone")
    child = mb.start("vc:start")
    mirrors = mb.home / ".versioncontrol"
    file = tree / "a.txt"
    file.write_text("saved by an editor\n")
    wait_until(lambda: any(mirrors.rglob("a.txt")), "a version of the file")
    assert not listens(mb.port) and child.poll() is None
    child.kill()
    child.wait()
    assert "(1 versions)" in mb.out("history", str(file))


@pytest.mark.smoke
def test_help_is_one_text_by_every_name(mb):
    texts = {mb.out(word) for word in ("help", "mirebolt:help", "fssys:help")}
    assert len(texts) == 1
    assert texts.pop().count("\n== ") == 10


@pytest.mark.smoke
def test_serve_says_where_it_is_and_ends_on_request(mb):
    child = mb.serve()
    mb.out("memory.add me, notes, t, , x")
    second = mb.run("orchestration:start")
    assert second.returncode == 0
    assert second.stdout == f"Mirebolt resident already running — http://127.0.0.1:{mb.port}/\n"
    mb.shutdown()
    assert child.wait(30) == 0
    printed = child.stdout.read()
    assert f"Mirebolt orchestration server up — http://127.0.0.1:{mb.port}/\n" in printed
    assert "data: " in printed


def test_signals_end_the_resident_cleanly(mb):
    for signal in (2, 15):
        child = mb.serve()
        child.send_signal(signal)
        assert child.wait(30) == 0


def test_the_mcp_bridge_answers_every_message(mb):
    done = mb.run("mcp", stdin='{"jsonrpc":"2.0","id":1,"method":"ping"}\n\n')
    assert done.returncode == 0
    assert len(done.stdout.splitlines()) == 1


def test_resident_log_holds_no_command_text(mb):
    mb.out("memory.add me, notes, t, , a-secret-text")
    status, _, _ = http(mb.port, "GET /nothing HTTP/1.1")
    assert status == 404
    log = mb.home / "logs" / f"resident-{mb.port}.log"
    assert f"orchestration server listening on http://127.0.0.1:{mb.port}/\n" in log.read_text()
    assert "a-secret-text" not in log.read_text()


@pytest.mark.smoke
@pytest.mark.parametrize("word,begins", [
    ("--help", "Mirebolt (mb) — persistent memory"), ("-h", "Mirebolt (mb) — persistent memory"),
    ("--version", "Mirebolt 2.0.0"), ("-V", "Mirebolt 2.0.0")])
def test_the_front_door_needs_no_resident(mb, word, begins):
    assert mb.out(word).startswith(begins)
    assert not listens(mb.port) and not mb.home.exists()
