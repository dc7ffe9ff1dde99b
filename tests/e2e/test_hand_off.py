"""The client against listeners that are not a healthy resident of its own version."""
import concurrent.futures
import os
import re
import signal
import subprocess
import time

import pytest

from conftest import HEAD, Listener, listens, wait_until

HEALTH = b'{"ok":true,"app":"Mirebolt","version":"%s"}'


def current(request, peer):
    if request.startswith(b"GET /health"):
        peer.sendall(HEAD + HEALTH % b"2.0.0")
    else:
        peer.sendall(HEAD + b'{"ok":true,"bot":"cli","out":"a\\"b\\nc\\u0007"}')


@pytest.mark.parametrize("body,holder", [
    (b"{}", "a non-Mirebolt process"),
    (HEALTH % b"2.0.0" + b"", None),
    (HEALTH % b"2.1.0", "a different Mirebolt version"),
    (b'{"ok":true,"app":"Mirebolt"}', "a different Mirebolt version"),
    (b"", "a non-Mirebolt process"),
])
def test_whoever_is_not_ours_never_gets_a_command(mb, body, holder):
    with Listener(mb.port, HEAD + body) as peer:
        done = mb.run("memory.striptotokens Local Run")
    posts = [request for request in peer.requests if request.startswith(b"POST")]
    if holder is None:
        assert len(posts) == 1
        return
    assert done.stderr == f"Mirebolt: port {mb.port} is held by {holder} — running this command locally\n"
    assert (done.returncode, done.stdout) == (0, "OK: local run\n")
    assert posts == []


def test_the_requests_are_what_the_resident_expects(mb):
    with Listener(mb.port, current) as peer:
        assert mb.out("memory.list", "my", "bot") == 'a"b\nc?'
    probe, command = peer.requests
    assert probe == b"GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n"
    folder, home = (re.escape(str(path).encode()) for path in (mb.folder, mb.home))
    assert re.fullmatch(
        b"POST /console/exec\\?bot=cli HTTP/1.1\r\nHost: 127.0.0.1\r\nX-Mrb-Cwd: " + folder +
        b"\r\nX-Mrb-Folder: " + folder + b"\r\nX-Mrb-Home: " + home +
        b"\r\nX-Mrb-Call: [0-9a-f]{32}\r\n"
        b"Content-Type: text/plain\r\nContent-Length: 18\r\nConnection: close\r\n\r\nmemory.list my bot",
        command)


@pytest.mark.smoke
def test_an_older_resident_is_evicted_and_replaced(mb):
    def reply(request, peer):
        if request.startswith(b"GET /health"):
            peer.sendall(HEAD + HEALTH % b"1.9.9")
        else:
            peer.sendall(HEAD + b'{"ok":true}')
            old.__exit__()

    old = Listener(mb.port, reply)
    with old:
        done = mb.run("memory.striptotokens Taken Over")
        assert done.stderr == (f"Mirebolt: evicting stale resident 1.9.9 on port {mb.port}, "
                               "starting 2.0.0\n")
        assert done.stdout == "OK: taken over\n"
        assert len(mb.resident_pids()) == 1


def test_an_older_resident_that_stays_means_a_local_run(mb):
    def reply(request, peer):
        if request.startswith(b"GET"):
            peer.sendall(HEAD + HEALTH % b"1.9.9")
        else:
            peer.sendall(b"HTTP/1.1 403 Forbidden\r\n\r\n{}")

    with Listener(mb.port, reply):
        done = mb.run("memory.striptotokens Stays Here")
    assert done.stderr.endswith(
        f"Mirebolt: could not take over port {mb.port} — running this command locally\n")
    assert done.stdout == "OK: stays here\n"


def test_a_dripping_probe_answer_is_cut_off(mb):
    def drip(_, peer):
        for _ in range(600):  # a minute of small signs of life
            peer.sendall(b"x")
            time.sleep(0.1)
        heard_out.append(peer)

    heard_out = []
    with Listener(mb.port, drip):
        mb.run("memory.striptotokens x")
    assert not heard_out


def test_a_slow_answer_is_waited_for_and_runs_once(mb):
    def slow(request, peer):
        if request.startswith(b"POST"):
            time.sleep(5)  # longer than the client's receive time-out
        current(request, peer)

    with Listener(mb.port, slow) as peer:
        assert mb.out("anything") == 'a"b\nc?'
    assert len([r for r in peer.requests if r.startswith(b"POST")]) == 1


@pytest.mark.smoke
def test_ten_at_once_bring_up_exactly_one_resident(mb):
    def add(i):
        return mb.run(f"memory.addmemo me, shared, t, , note, memo {i}")

    with concurrent.futures.ThreadPoolExecutor(10) as pool:
        done = list(pool.map(add, range(10)))
    assert [d.returncode for d in done] == [0] * 10, done
    assert len({d.stdout for d in done}) == 10
    assert all(d.stdout.startswith("OK: memo ") and d.stderr == "" for d in done), done
    # The losers of the race end by themselves, a moment after they were started.
    wait_until(lambda: len(mb.resident_pids()) == 1, "exactly one resident")
    assert len(mb.out("memory.retrieve me, shared, t").splitlines()) == 10


def log_of(mb):
    logs = list((mb.home / "logs").glob("resident-*.log"))
    return logs[0].read_text() if logs else ""


def test_boot_without_its_port_does_not_stay(mb):
    first = mb.serve()
    assert mb.run("boot").returncode == 0  # the port has its resident
    assert listens(mb.port) and first.poll() is None


@pytest.mark.skipif(os.name != "posix", reason="process groups")
@pytest.mark.parametrize("group", [None, 0], ids=["in the caller's group", "as a shell's job"])
def test_boot_tells_its_caller_how_it_went(mb, group):
    """A shell's job cannot begin a session: its child goes on in its place, and the job waits."""
    if mb.is_windows:
        pytest.skip("process groups")

    def boot():
        return subprocess.Popen(mb.arguments("boot"), stdin=subprocess.DEVNULL, cwd=mb.folder,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                env=mb.environment, process_group=group)

    mb.home.mkdir(exist_ok=True)
    settings = mb.home / "mirebolt.cfg"
    settings.write_text("listen = nowhere\n")
    failed = boot()
    out, err = failed.communicate(timeout=20)
    assert (failed.returncode, out) == (1, "")
    assert "nowhere" in err
    settings.write_text("")
    with Listener(mb.port, HEAD + b"somebody else's page"):
        waiting = boot()
        wait_until(lambda: "bind() on port" in log_of(mb), "a resident that waits for the port")
        waiting.terminate()
        _, err = waiting.communicate(timeout=5)
        if group is None:
            assert (waiting.returncode, "could not bind port" in err) == (1, True)
        wait_until(lambda: mb.resident_pids() == [], "nobody to wait for the port")
    served = boot()
    if group == 0:
        assert (served.wait(20), served.stderr.read()) == (0, "")
    wait_until(lambda: listens(mb.port), "a resident that answers")
    mb.shutdown()
    served.wait(20)
    served.communicate()


@pytest.mark.skipif(os.name != "posix", reason="signals")
def test_a_signal_ends_the_wait_for_a_held_port(mb):
    if mb.is_windows:
        pytest.skip("signals")
    with Listener(mb.port, HEAD + b"somebody else's page"):
        waiting = mb.start("serve")
        wait_until(lambda: "bind()" in waiting.stdout.readline(), "a resident that waits")
        waiting.send_signal(signal.SIGINT)
        waiting.wait(5)


@pytest.mark.smoke
def test_two_processes_never_write_one_data_home(mb):
    mb.out("memory.add me, notes, t, , by the resident")
    from conftest import free_port
    with Listener(free_port(), HEAD + b"somebody else's page") as peer:
        port = peer.server.getsockname()[1]
        refused = mb.run("memory.add me, notes, u, , by a local run", port=port)
        assert refused.returncode == 1
        assert "in use by another mb process" in refused.stdout
    assert mb.out("memory.retrieve me, notes, u") == ""
    assert mb.out("memory.retrieve me, notes, t") == "by the resident"
