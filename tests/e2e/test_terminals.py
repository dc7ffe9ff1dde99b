"""Terminals that stay, driven by real programs: over the routes, and as a person at a console does."""
import fcntl
import json
import os
import pty
import re
import select
import signal
import struct
import subprocess
import termios
import threading
import time
import urllib.parse

import pytest
from conftest import DEADLINE, http, wait_until


class Terminals:
    """The routes of one resident."""

    def __init__(self, mb):
        self.mb = mb

    def ask(self, route, body=b"", **query):
        query = urllib.parse.urlencode(query)
        method = "POST" if body else "GET"
        _, _, answer = http(self.mb.port, f"{method} /term/{route}?{query} HTTP/1.1", body, 120)
        return json.loads(answer)

    def open(self, command, **query):
        return self.ask("open", command.encode(), **query)["id"]

    def shows(self, session, pattern, since=0):
        """What the session has shown once it matches the pattern."""
        shown = {"text": "", "since": since}

        def look():
            answer = self.ask("read", id=session, since=shown["since"])
            shown["text"] += answer["data"]
            shown["since"] = answer["len"]
            return re.search(pattern, shown["text"])
        wait_until(look, f"{pattern} in {session}")
        return shown["text"]

    def keys(self, session, text):
        assert self.ask("send", text.encode(), id=session, raw=1) == {"ok": True}

    def run(self, session, command, **query):
        answer = self.ask("exec", command.encode(), id=session, **query)
        assert answer["ok"], answer
        return answer["output"], answer["exitCode"]


@pytest.fixture
def terminals(mb):
    mb.environment["SHELL"] = "/bin/bash"
    mb.serve()
    return Terminals(mb)


def alive(pattern):
    return subprocess.run(["pgrep", "-f", pattern], stdout=subprocess.DEVNULL).returncode == 0


def test_a_shell_with_job_control_and_a_tree_that_ends(terminals):
    session = terminals.open("")
    assert terminals.run(session, "test -t 0 && tty | cut -c1-9; stty size") == \
        ("/dev/pts/\r\n30 120\r\n", 0)
    assert terminals.run(session, "sleep 61234 & jobs -p | wc -l")[0].endswith("1\r\n")
    assert terminals.run(session, "setsid sh -c 'trap \"\" HUP; sleep 61234' & true")[1] == 0
    assert alive("[s]leep 61234")
    terminals.keys(session, "sh -c 'echo st''arted; sleep 100'\r")
    terminals.shows(session, "started")
    terminals.keys(session, "\x1a")
    terminals.shows(session, "Stopped")
    assert terminals.ask("close", id=session) == {"ok": True}
    assert not alive("[s]leep 61234")


def test_full_screen_programs(terminals):
    path = terminals.mb.folder / "file.txt"
    path.write_text("".join(f"line {i}\n" for i in range(200)))
    less = terminals.open(f"less {path}", cols=50, rows=10)
    terminals.shows(less, "line 8")
    terminals.ask("resize", id=less, cols=50, rows=20)
    terminals.shows(less, "line 18")
    terminals.keys(less, "G")
    terminals.shows(less, "line 199")
    terminals.keys(less, "q")
    terminals.shows(less, "session ended, exit 0")
    vi = terminals.open(f"vim -u NONE -N {path}")
    terminals.shows(vi, "line 1")
    terminals.keys(vi, "1GA\x1b[D!\x1b:wq\r")  # an arrow key on the way
    terminals.shows(vi, "session ended, exit 0")
    assert path.read_text().startswith("line !0\n")


def test_other_interpreters_and_bytes_that_are_no_text(terminals):
    python = terminals.open("python3 -i -q")
    terminals.shows(python, ">>> ")
    terminals.ask("send", b"import os; print(os.get_terminal_size())", id=python)
    terminals.shows(python, r"columns=120, lines=30")
    terminals.ask("send", "print('\u20ac' * 3, b'\\xff\\x00'.hex())".encode(), id=python)
    terminals.shows(python, "\u20ac\u20ac\u20ac ff00")
    binary = terminals.open("head -c 200000 /dev/urandom")
    terminals.shows(binary, r"\[session ended, exit 0\]\n$")
    kept = terminals.ask("read", id=binary, since=0)
    assert kept["len"] >= 200000
    # Names that are odd, sizes that are none.
    assert terminals.ask("name", id=python, name="\u00e4")["error"].startswith("invalid name")
    assert terminals.ask("resize", id=python, cols="-5", rows="x") == {"ok": True}


def test_execution_with_much_output_and_many_at_once(terminals):
    session = terminals.open("bash --norc")
    output, code = terminals.run(session, "yes 0123456789 | head -c 99999999; (exit 3)",
                                 timeout=110000)
    assert code == 3
    assert len(output) <= 262144
    assert output.endswith("0123456789\r\n")
    results = {}

    def one(number):
        results[number] = terminals.run(session, f"echo {number}; (exit {number})")
    threads = [threading.Thread(target=one, args=(i,)) for i in range(20)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == {i: (f"{i}\r\n", i) for i in range(20)}
    late = terminals.ask("exec", b"echo so far; sleep 5", id=session, timeout=200)
    assert late == {"ok": False, "timedOut": True, "output": "so far\r\n"}


def test_two_hundred_sessions_end_with_the_resident(terminals):
    sessions = [terminals.open("sh -c 'echo up; exec sleep 61235'") for _ in range(200)]
    assert len(set(sessions)) == 200
    for session in sessions[::40]:
        terminals.shows(session, "up")
    assert len(terminals.ask("list")["sessions"]) == 200
    terminals.mb.shutdown()
    wait_until(lambda: not alive("[s]leep 61235"), "the sessions to end")


class Person:
    """`mb` at a console of its own, typed at and read."""

    def __init__(self, mb, *words, size=(24, 80)):
        self.master, slave = pty.openpty()
        self.resize(*size)
        self.child = subprocess.Popen(mb.arguments(*words), stdin=slave, stdout=slave, stderr=slave,
                                      env=mb.environment, cwd=mb.folder, start_new_session=True)
        os.close(slave)
        self.seen = ""

    def resize(self, rows, columns):
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def type(self, text):
        os.write(self.master, text.encode())

    def sees(self, pattern):
        end = time.monotonic() + DEADLINE
        while not (found := re.search(pattern, self.seen)):
            assert time.monotonic() < end, (pattern, self.seen)
            if select.select([self.master], [], [], 1)[0]:
                self.seen += os.read(self.master, 65536).decode(errors="replace")
        self.seen = self.seen[found.end():]
        return found

    def leaves(self):
        code = self.child.wait(DEADLINE)
        os.close(self.master)
        return code


def test_the_client_line_by_line(terminals):
    mb = terminals.mb
    assert json.loads(mb.out("mterm", "list")) == {"ok": True, "sessions": []}
    person = Person(mb, "mterm", "run", "bash", "--norc")
    session = person.sees(r"\[mterm (\S+) attached — ::detach leaves it running, ::close kills it, "
                          r"::name <alias> names it, ::list lists sessions\]").group(1)
    person.type("echo $((6*7))\n")
    person.sees(r"[\n\r]42\r")
    person.type("::name Work\n")
    person.sees(re.escape('{"ok":true}'))
    person.type("::detach\n")
    person.sees(re.escape(f"[detached — {session} still running; reattach: mb mterm {session}]"))
    assert person.leaves() == 0
    assert mb.out("mterm", "host", "save", "again", "--from", session) == '{"ok":true}'
    assert mb.out("mterm", "host", "save", "other", "echo", "a b") == '{"ok":true}'
    assert json.loads(mb.out("mterm", "host", "list"))["hosts"] == [
        {"name": "again", "cmd": "bash --norc"}, {"name": "other", "cmd": "echo a b"}]
    assert mb.out("mterm", "host", "rm", "other") == '{"ok":true}'
    # What a pipe types is typed, and what was shown before is shown again.
    shown = mb.out("mterm", "work", stdin="exit 4\n::list\n")
    assert "42" in shown and session in shown
    terminals.shows(session, "session ended, exit 4")
    gone = mb.run("mterm", "work")
    assert (gone.returncode, gone.stderr) == (
        1, "mterm: no live session or saved host 'work' (mb mterm list; mb mterm host list)\n")
    person = Person(mb, "mterm", "again")
    person.sees("attached")
    person.type("::close\n")
    person.sees(r"\[closed t\d+-\w+\]")
    assert person.leaves() == 0
    person = Person(mb, "mterm", "run", "echo", "bye")
    person.sees(r"bye[^$]*\[session ended, exit 0\][^$]*\[session ended\]")
    assert person.leaves() == 0
    assert mb.run("mterm", "name", "t9-none", "x").stderr == \
        "mterm: no such session t9-none (mb mterm list)\n"
    assert mb.run("mterm", "run", "no-such-program").stderr == \
        'mterm: open failed: {"ok":false,"error":"spawn failed"}\n'


def test_the_client_key_by_key(terminals):
    mb = terminals.mb
    session = terminals.open("bash --norc --noprofile")
    person = Person(mb, "mterm", "-r", session, size=(33, 77))
    person.sees(r"Ctrl-\\ d leaves it running")
    person.type("stty size\r")
    person.sees("33 77")
    person.resize(20, 60)
    wait_until(lambda: terminals.run(session, "stty size")[0] == "20 60\r\n", "the new size")
    person.type("sleep 61236\r")
    wait_until(lambda: alive("[s]leep 61236"), "the program that is interrupted")
    person.type("\x03")
    person.sees(r"\^C[^$#]*[$#] ")
    person.type("echo st\x1b[Dx\r")  # the arrow left of the "t"
    person.sees("sxt")
    person.type("\x1cd")
    person.sees(re.escape(f"[detached — {session} still running"))
    assert person.leaves() == 0
    assert terminals.run(session, "echo still")[0] == "still\r\n"
    person = Person(mb, "terminal", "bash")
    person.sees("attached")
    person.type("exit\r")
    person.sees(r"\[session ended\]")
    assert person.leaves() == 0


def test_without_a_resident_the_client_says_so(mb):
    done = mb.run("mterm", "list")
    assert done.returncode == 1
    assert done.stderr == f"mterm: no Mirebolt resident on port {mb.port} (start one: mb gui)\n"


def test_shell_lines_run_where_the_caller_is(mb):
    folder = mb.folder / "work here"
    folder.mkdir()
    assert mb.out("!pwd", cwd=folder) == f"OK: shell output:\n{folder}"
    assert mb.out("shell", "echo", "a", "|", "tr", "a", "b", cwd=folder) == "OK: shell output:\nb"
    assert mb.out("!cat; exit 3", cwd=folder) == "OK: shell output:\n[exit 3]"
    folder.rmdir()


@pytest.mark.smoke
def test_a_windows_shell(mb):
    """The same on Windows, where a resident has a console of its own by `boot`."""
    if not mb.is_windows:
        pytest.skip("needs cmd.exe")
    assert mb.out("!exit 3") == "OK: shell output:\n[exit 3]"
    terminals = Terminals(mb)
    session = terminals.open("cmd.exe")
    terminals.shows(session, ">")
    output, code = terminals.run(session, "echo hello")
    assert ("hello" in output, "echo hello" in output, code) == (True, False, 0)
    terminals.keys(session, "exit 5\r")
    terminals.shows(session, r"\[session ended, exit 5\]")
    assert terminals.ask("close", id=session) == {"ok": True}
    assert terminals.ask("open", b"no-such-program") == {"ok": False, "error": "spawn failed"}


class Console:
    """A client on a pseudo-terminal of its own."""

    def __init__(self, mb, *words):
        self.master, side = pty.openpty()
        self.modes = termios.tcgetattr(side)
        self.side = side
        self.shown = b""
        self.client = subprocess.Popen(mb.arguments(*words), stdin=side, stdout=side, stderr=side,
                                       env=mb.environment, cwd=mb.folder, start_new_session=True)

    def type(self, keys):
        os.write(self.master, keys)

    def shows(self, text, wait=20):
        end = time.monotonic() + wait
        while text not in self.shown and time.monotonic() < end:
            if select.select([self.master], [], [], 0.1)[0]:
                self.shown += os.read(self.master, 65536)
        return text in self.shown

    def left_within(self, seconds):
        begin = time.monotonic()
        while self.client.poll() is None and time.monotonic() - begin < seconds:
            self.shows(b"no such text", 0.05)
        return self.client.poll() is not None

    def close(self):
        self.client.kill()
        self.client.wait()
        os.close(self.master)
        os.close(self.side)


@pytest.mark.parametrize("stopped", [False, True])
@pytest.mark.parametrize("words,begin,leave,said", [
    (["mterm", "-r", "run", "sh"], b"leaves it running]", b"\x1cd", b"still running; reattach"),
    (["mterm", "run", "sh"], b"::list lists sessions]", b"::detach\r", b"still running; reattach"),
])
def test_a_client_leaves_whatever_its_resident_does(mb, words, begin, leave, said, stopped):
    if mb.is_windows:
        pytest.skip("a pseudo-terminal of this system")
    resident = mb.serve()
    console = Console(mb, *words)
    try:
        assert console.shows(begin), console.shown
        console.type(b"printf '\\033[?1049h\\033[?1000h'; echo re''ady\r")
        assert console.shows(b"ready"), console.shown
        if stopped:
            os.kill(resident.pid, signal.SIGSTOP)
        console.type(leave)
        assert console.left_within(2), console.shown
        assert said in console.shown
        if "-r" in words:
            # Before the words, or they would be gone with the program's own screen.
            head = console.shown[:console.shown.rindex(said)]
            assert all(undo in head for undo in (b"\x1b[?1049l", b"\x1b[?1000l", b"\x1b[0m"))
        assert termios.tcgetattr(console.side) == console.modes
    finally:
        os.kill(resident.pid, signal.SIGCONT)
        console.close()


def test_keys_that_nobody_takes_are_not_said_to_be_delivered(mb):
    if mb.is_windows:
        pytest.skip("a pseudo-terminal of this system")
    resident = mb.serve()
    console = Console(mb, "mterm", "-r", "run", "cat")
    try:
        assert console.shows(b"leaves it running]"), console.shown
        os.kill(resident.pid, signal.SIGSTOP)
        console.type(b"lost\x1cd")
        assert console.left_within(2), console.shown
        assert "[mterm: server unreachable — detaching]".encode() in console.shown
    finally:
        os.kill(resident.pid, signal.SIGCONT)
        console.close()
