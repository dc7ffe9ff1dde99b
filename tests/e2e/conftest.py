"""Drives the built executable as its users do: over its command line and its sockets.

    /usr/bin/python3 -m pytest tests/e2e --mb build/release/bin/mb
    … --mb build/windows/bin/mb.exe --launcher wine64 -m smoke
"""
import os
import pathlib
import signal
import socket
import subprocess
import tempfile
import threading
import time

import pytest

# A script that runs this in the background ignores interrupts, and so would all that is started here.
signal.signal(signal.SIGINT, signal.default_int_handler)

HEAD = b"HTTP/1.1 200 OK\r\n\r\n"

DEADLINE = 30.0  # seconds; a bound for what should take milliseconds, on a machine that is busy


def pytest_addoption(parser):
    parser.addoption("--mb", required=True, help="the executable to test")
    parser.addoption("--launcher", default="", help="a program that runs it (wine64)")


def pytest_configure(config):
    config.addinivalue_line("markers", "smoke: also run for the Windows executable")


def wait_until(condition, message):
    """The first truthy value of `condition`, asked again until the deadline."""
    end = time.monotonic() + DEADLINE
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f"not within {DEADLINE} s: {message}")


def is_dead(pid):
    """Gone, or a zombie whose last thread has ended: one that still flushes holds the locks."""
    process = pathlib.Path(f"/proc/{pid}")
    try:
        state = (process / "stat").read_text().rpartition(") ")[2]
        return state.startswith("Z") and len(list((process / "task").iterdir())) == 1
    except OSError:
        return True


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def http(port, text, body=b"", timeout=DEADLINE):
    """Sends one request, its head given with plain line feeds, and returns (status, headers, body)."""
    head = text.replace("\n", "\r\n").encode()
    if body:
        head += b"\r\nContent-Length: " + str(len(body)).encode()
    answer = raw(port, head + b"\r\n\r\n" + body, timeout)
    top, _, rest = answer.partition(b"\r\n\r\n")
    lines = top.decode().split("\r\n")
    headers = {name.lower(): value for name, value in (line.split(": ", 1) for line in lines[1:])}
    return int(lines[0].split()[1]), headers, rest


def raw(port, data, timeout=DEADLINE):
    with socket.create_connection(("127.0.0.1", port), timeout) as peer:
        peer.sendall(data)
        answer = b""
        while piece := peer.recv(65536):
            answer += piece
        return answer


def listens(port):
    try:
        return http(port, "GET /health HTTP/1.1", timeout=5)[0] == 200
    except (OSError, ValueError, IndexError):
        return False


class Listener:
    """A scripted peer: answers each request by `reply`, bytes or a function of (request, socket)."""

    def __init__(self, port, reply):
        self.server = socket.create_server(("127.0.0.1", port))
        self.reply = reply
        self.requests = []

    def __enter__(self):
        threading.Thread(target=self._serve, daemon=True).start()
        return self

    def __exit__(self, *_):
        # Closing alone would leave the thread waiting in accept() with the port still taken.
        try:
            self.server.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass  # ended before
        self.server.close()

    def _serve(self):
        while True:
            try:
                peer, _ = self.server.accept()
            except OSError:
                return
            threading.Thread(target=self._answer, args=(peer,), daemon=True).start()

    def _answer(self, peer):
        with peer:
            request = b""
            while b"\r\n\r\n" not in request:
                piece = peer.recv(4096)
                if not piece:
                    break
                request += piece
            head, _, body = request.partition(b"\r\n\r\n")
            for line in head.split(b"\r\n"):
                if line.startswith(b"Content-Length: "):
                    while len(body) < int(line[16:]):
                        body += peer.recv(4096)
            self.requests.append(head + b"\r\n\r\n" + body)
            try:
                if callable(self.reply):
                    self.reply(request, peer)
                else:
                    peer.sendall(self.reply)
            except OSError:
                pass


class Mirebolt:
    """One data home and one port, and whatever runs on them."""

    def __init__(self, mb, launcher, folder):
        self.command = ([launcher] if launcher else []) + [str(pathlib.Path(mb).resolve())]
        self.is_windows = bool(launcher)
        self.folder = folder
        self.home = folder / "home"
        self.port = free_port()
        self.children = []
        self.environment = {**os.environ, "XDG_RUNTIME_DIR": str(folder), "HOME": str(folder)}

    def arguments(self, *words, port=None, home=None):
        home = str(home or self.home)
        if self.is_windows:
            home = "Z:" + home.replace("/", "\\")
        return [*self.command, "--port", str(port or self.port), "--conf", home, *words]

    def run(self, *words, stdin="", port=None, home=None, cwd=None):
        return self.run_exactly(self.arguments(*words, port=port, home=home), stdin, cwd)

    def run_exactly(self, arguments, stdin="", cwd=None):
        options = {"text": True, "encoding": "utf-8", "timeout": 120, "env": self.environment,
                   "cwd": cwd or self.folder, "check": False}
        if not self.is_windows:
            # Pipes: a resident that kept one of its client's streams would be noticed here.
            return subprocess.run(arguments, input=stdin, capture_output=True, **options)
        # Wine itself hands its standard error on to every process, so a pipe would never end.
        with tempfile.TemporaryFile("w+", encoding="utf-8", newline="") as out, \
                tempfile.TemporaryFile("w+", encoding="utf-8", newline="") as err:
            done = subprocess.run(arguments, input=stdin, stdout=out, stderr=err, **options)
            out.seek(0)
            err.seek(0)
            done.stdout, done.stderr = out.read(), err.read()
            return done

    def out(self, *words, **options):
        """Standard output of a command that must end with status 0, without its final line feed."""
        done = self.run(*words, **options)
        assert done.returncode == 0, (words, done)
        return done.stdout.removesuffix("\n")

    def start(self, *words, port=None, home=None):
        child = subprocess.Popen(self.arguments(*words, port=port, home=home),
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 stderr=subprocess.STDOUT, text=True, encoding="utf-8",
                                 env=self.environment, cwd=self.folder)
        self.children.append(child)
        return child

    def serve(self, **options):
        """A resident in the foreground; returns once it answers."""
        child = self.start("serve", **options)
        port = options.get("port") or self.port
        wait_until(lambda: listens(port) or child.poll() is not None, "a resident that answers")
        assert child.poll() is None, child.stdout.read()
        return child

    def shutdown(self, port=None):
        """Asks for the end of whatever resident answers on the port."""
        port = port or self.port
        if listens(port):
            http(port, "POST /shutdown HTTP/1.1\nX-Mrb-Control: shutdown\nContent-Length: 0")
            wait_until(lambda: not listens(port), "the resident to end")

    def resident_pids(self):
        """The processes that run `boot` or `serve` on this port, found by their command line."""
        found = []
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                words = (folder / "cmdline").read_bytes().decode(errors="replace").split("\0")
            except OSError:
                continue
            if str(self.port) in words and ("boot" in words or "serve" in words):
                found.append(int(folder.name))
        return found

    def kill_resident(self):
        pids = self.resident_pids()
        for pid in pids:
            os.kill(pid, signal.SIGKILL)
        # A dying process loses its command line before its locks.
        wait_until(lambda: all(is_dead(pid) for pid in pids), "the killed resident to be gone")
        return pids

    def close(self):
        self.shutdown()
        for child in self.children:
            if child.poll() is None:
                child.kill()
            child.wait()
            child.stdout.close()
        for pid in self.resident_pids():
            os.kill(pid, signal.SIGKILL)


@pytest.fixture
def mb(request, tmp_path):
    system = Mirebolt(request.config.getoption("--mb"), request.config.getoption("--launcher"),
                      tmp_path)
    yield system
    system.close()
