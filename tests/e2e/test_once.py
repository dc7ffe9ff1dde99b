"""A command runs once, whatever happens to the resident under it."""
import concurrent.futures
import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import threading
import time

import pytest

from conftest import HEAD, Listener, http, is_dead, listens, wait_until

LOST = "Mirebolt: the resident went away while the command ran; it may have run\n"
ENDED = "ERROR: the resident is going down; the command was ended\n"


def in_background(function, *arguments):
    pool = concurrent.futures.ThreadPoolExecutor(1)
    return pool.submit(function, *arguments)


def busy(mb, seconds):
    """A command that notes that it ran, and goes on; returns once it runs."""
    mark = mb.folder / "ran"
    running = in_background(mb.run, f"!echo x >> {mark}; sleep {seconds}; echo done")
    wait_until(mark.exists, "a command that runs")
    return running, mark


def test_a_killed_residents_command_is_not_repeated(mb):
    resident = mb.serve()
    running, mark = busy(mb, 3)
    os.kill(resident.pid, signal.SIGKILL)
    done = running.result()
    assert (done.returncode, done.stdout, done.stderr) == (3, "", LOST)
    assert mark.read_text() == "x\n"
    assert mb.resident_pids() == [] or not listens(mb.port)


def test_an_mcp_call_is_not_repeated(mb):
    resident = mb.serve()
    mark = mb.folder / "ran"
    calls = "".join(json.dumps(message) + "\n" for message in (
        {"jsonrpc": "2.0", "id": 8, "method": "tools/call",
         "params": {"name": "mrb.run", "arguments": {"command": f"!echo x >> {mark}; sleep 5"}}},))
    running = in_background(lambda: mb.run("mcp", stdin=calls))
    wait_until(mark.exists, "a call that runs")
    os.kill(resident.pid, signal.SIGKILL)
    answer = json.loads(running.result().stdout)
    assert (answer["id"], "may have run" in answer["error"]["message"]) == (8, True)
    assert mark.read_text() == "x\n"


@pytest.mark.parametrize("ended", ["/shutdown", "SIGTERM"])
def test_an_orderly_end_answers_what_runs(mb, ended):
    resident = mb.serve()
    quick, mark = busy(mb, 2)
    slow = in_background(mb.run, "!echo $$ > pid; setsid sleep 600 & sleep 600")
    wait_until((mb.folder / "pid").exists, "the other one")
    if ended == "SIGTERM":
        os.kill(resident.pid, signal.SIGTERM)
    else:
        http(mb.port, "POST /shutdown HTTP/1.1\nX-Mrb-Control: shutdown\nContent-Length: 0")
    begin = time.monotonic()
    assert quick.result().stdout == "OK: shell output:\ndone\n"
    done = slow.result()
    assert (done.stdout, done.stderr) == (ENDED, "")
    assert time.monotonic() - begin < 10
    assert mark.read_text() == "x\n"
    resident.wait(10)
    assert is_dead(int((mb.folder / "pid").read_text()))


@pytest.mark.skipif(os.name != "posix" or os.geteuid() != 0, reason="makes processes of two users")
def test_a_process_that_may_not_be_ended_is_said_and_not_waited_for(mb):
    """The resident is nobody's; what its command starts becomes root's."""
    if mb.is_windows:
        pytest.skip("nobody can be root there")
    nobody = 65534
    with tempfile.TemporaryDirectory() as place:
        folder = pathlib.Path(place)
        folder.chmod(0o755)
        as_root = folder / "as-root"
        shutil.copy("/usr/bin/setpriv", as_root)
        as_root.chmod(0o4755)
        home = folder / "home"
        home.mkdir()
        os.chown(home, nobody, nobody)
        executable = shutil.copy(mb.command[-1], folder / "mb")
        environment = {"HOME": str(home), "XDG_RUNTIME_DIR": str(home), "PATH": os.environ["PATH"]}
        resident = subprocess.Popen(
            [executable, "--port", str(mb.port), "--conf", str(home / "data"), "serve"], cwd=home,
            env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, user=nobody,
            group=nobody, extra_groups=[])
        try:
            wait_until(lambda: listens(mb.port), "a resident that answers")
            line = f"!{as_root} --reuid 0 --clear-groups sh -c 'echo $$ > {folder}/pid; exec sleep 600'"
            call = {"jsonrpc": "2.0", "id": 1, "method": "tools/call",
                    "params": {"name": "mrb.run", "arguments": {"command": line}}}
            running = in_background(http, mb.port, "POST /mcp HTTP/1.1", json.dumps(call).encode())
            wait_until(lambda: (folder / "pid").exists() and (folder / "pid").read_text(), "a start")
            stubborn = int((folder / "pid").read_text())
            os.kill(resident.pid, signal.SIGTERM)
            begin = time.monotonic()
            text = json.loads(running.result()[2])["result"]["content"][0]["text"]
            assert text == ENDED + f"[still running: pid {stubborn} may not be ended]"
            resident.wait(10)
            assert time.monotonic() - begin < 11
        finally:
            resident.kill()
            resident.wait()
            os.kill(stubborn, signal.SIGKILL)


def test_a_half_answer_is_told(mb):
    def half(request, peer):
        if request.startswith(b"GET /health"):
            peer.sendall(HEAD + b'{"ok":true,"app":"Mirebolt","version":"2.0.0"}')
        else:
            peer.sendall(b'HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n{"ok":true,"out":"the first')

    with Listener(mb.port, half):
        done = mb.run("anything")
    assert (done.returncode, done.stdout, done.stderr) == (3, "the first\n", LOST)


@pytest.mark.parametrize("rounds", [int(os.environ.get("MB_SHUTDOWNS", "4"))])
def test_shutdowns_under_busy_clients(mb, rounds):
    """Every command ran exactly once, or its caller was told that it may have, or has not."""
    log = mb.folder / "log"
    log.touch()
    ending = threading.Event()
    told = {}

    def client(number):
        count = 0
        while not ending.is_set():
            word = f"{number}-{count}"
            count += 1
            told[word] = mb.run(f"!echo {word} >> {log}")

    mb.out("memory.list me")
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        clients = [pool.submit(client, number) for number in range(8)]
        try:
            for _ in range(rounds):
                time.sleep(0.5)
                try:
                    http(mb.port, "POST /shutdown HTTP/1.1\nX-Mrb-Control: shutdown\nContent-Length: 0")
                except (OSError, ValueError, IndexError):
                    pass  # it was ending already
            time.sleep(0.5)
        finally:
            ending.set()
        for one in clients:
            one.result()
    ran = log.read_text().split()
    assert len(ran) == len(set(ran)), "a command ran twice"
    missing = {word: done for word, done in told.items()
               if word not in ran and done.returncode == 0 and done.stdout.startswith("OK")}
    unsaid = {word: done for word, done in told.items()
              if word in ran and not (done.stdout.startswith("OK") or done.returncode == 3)}
    assert (missing, unsaid, set(ran) - set(told)) == ({}, {}, set())
    assert pathlib.Path(log).exists() and len(told) > rounds
