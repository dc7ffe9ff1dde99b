#!/usr/bin/env python3
"""Measures terminal sessions, beside tmux and a bare pseudo-terminal in the same run.

    bench/terminals.py --mb build/bench/bin/mb [--rounds 5]

Needs tmux. What is compared is measured in turns, so that whatever else the machine does meets both.
Prints medians, the figures aimed at, and for throughput each round.
"""
import argparse
import contextlib
import json
import os
import pathlib
import pty
import socket
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.parse

MEGABYTES = 100
PROMPT = "READY> "
SHELL = f"env PS1='{PROMPT}' bash --norc -i"  # for tmux, whose own shell may set another prompt
PATIENCE = 20  # seconds


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Resident:
    def __init__(self, mb, folder):
        self.port = free_port()
        self.mb = mb
        self.arguments = [mb, "--port", str(self.port), "--conf", str(folder / "home")]
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(folder), "PS1": PROMPT,
                            "XDG_RUNTIME_DIR": str(folder), "LANG": "C.UTF-8"}
        self.process = subprocess.Popen([*self.arguments, "serve"], stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL, env=self.environment)
        while True:
            with contextlib.suppress(OSError):
                self.ask("list")
                break
            time.sleep(0.01)

    def ask(self, route, body=None, **query):
        head = (f"{'GET' if body is None else 'POST'} /term/{route}?{urllib.parse.urlencode(query)} "
                f"HTTP/1.1\r\nContent-Length: {len(body or b'')}\r\n\r\n")
        with socket.create_connection(("127.0.0.1", self.port)) as peer:
            peer.sendall(head.encode() + (body or b""))
            peer.shutdown(socket.SHUT_WR)
            answer = b""
            while piece := peer.recv(65536):
                answer += piece
        return json.loads(answer.partition(b"\r\n\r\n")[2])

    def open(self, command):
        return self.ask("open", command.encode())["id"]

    def wait_for_output(self, session, text):
        since, shown = 0, ""
        while text not in shown:
            answer = self.ask("read", id=session, since=since, wait=5000)
            shown, since = shown + answer["data"], answer["len"]
        return since

    def close(self):
        self.process.terminate()
        self.process.wait()


class Tmux:
    def __init__(self, folder, environment):
        self.command = ["tmux", "-S", str(folder / "tmux"), "-f", "/dev/null"]
        self.environment = environment
        self.run("new-session", "-d", "-x", "120", "-y", "30", "sleep 100000")

    def run(self, *words):
        return subprocess.run([*self.command, *words], env=self.environment, check=True,
                              capture_output=True, text=True).stdout

    def wait_for_output(self, pane, text):
        end = time.monotonic() + PATIENCE
        while text not in self.run("capture-pane", "-p", "-t", pane):
            if time.monotonic() > end:
                sys.exit(f"tmux does not show {text}")

    def close(self):
        self.run("kill-server")


def milliseconds(action, rounds):
    times = []
    for _ in range(rounds):
        start = time.perf_counter()
        action()
        times.append((time.perf_counter() - start) * 1000)
    return statistics.median(times)


def bare_pty(words, environment):
    child, master = pty.fork()
    if child == 0:
        os.execvpe(words[0], words, environment)
    return child, master


def drain_bare(path, environment):
    child, master = bare_pty(["cat", path], environment)
    with contextlib.suppress(OSError):
        while os.read(master, 65536):
            pass
    os.close(master)
    os.waitpid(child, 0)


def drain_ours(resident, path):
    session = resident.open(f"cat {path}")
    while resident.ask("read", id=session, since=1 << 62)["alive"]:
        time.sleep(0.005)
    resident.ask("close", id=session)


def drain_tmux(tmux, path):
    tmux.run("new-window", "-d", f"cat {path}; tmux -S {tmux.command[2]} wait-for -S drained")
    tmux.run("wait-for", "drained")


def throughput(resident, tmux, folder, rounds):
    path = folder / "text"
    line = "all work and no play makes a terminal a dull place, said the 80-column line.\n"
    path.write_text((line * (MEGABYTES * 1_000_000 // len(line) + 1))[:MEGABYTES * 1_000_000])
    figures = {"ours": [], "bare": [], "tmux": []}
    for _ in range(rounds):
        for name, drain in (("ours", lambda: drain_ours(resident, path)),
                            ("bare", lambda: drain_bare(path, resident.environment)),
                            ("tmux", lambda: drain_tmux(tmux, path))):
            figures[name].append(MEGABYTES * 1000 / milliseconds(drain, 1))
    path.unlink()
    for name, values in figures.items():
        print(f"  {name}: " + " ".join(f"{value:.1f}" for value in values) + " MB/s")
    ours, bare, beside = (statistics.median(figures[name]) for name in ("ours", "bare", "tmux"))
    print(f"  100 MB of text, medians: ours {ours:.1f} MB/s = {ours / bare:.2f} x bare pty "
          f"(>= 0.85), {ours / beside:.2f} x tmux (>= 2)")


def latencies(resident, tmux):
    session = resident.open("bash --norc -i")
    resident.wait_for_output(session, PROMPT)
    exec_true = milliseconds(lambda: resident.ask("exec", b"true", id=session), 300)
    request = milliseconds(lambda: resident.ask("list"), 300)
    print(f"  exec of true: {exec_true:.2f} ms (<= 2; one request alone {request:.2f})")

    position = {"since": resident.ask("read", id=session, since=1 << 62)["len"]}

    def key():
        resident.ask("send", b"x", id=session, raw=1)
        while not (answer := resident.ask("read", id=session, wait=1000, **position))["data"]:
            pass
        position["since"] = answer["len"]
    print(f"  key until its echo: {milliseconds(key, 300):.2f} ms (<= 1.5)", end="")

    pane = tmux.run("new-window", "-d", "-P", "-F", "#{pane_id}", SHELL).strip()
    tmux.wait_for_output(pane, PROMPT.strip())
    typed = {"keys": ""}

    def tmux_key():
        typed["keys"] += "x"
        tmux.run("send-keys", "-t", pane, "x")
        tmux.wait_for_output(pane, typed["keys"])
    print(f"; tmux {milliseconds(tmux_key, 50):.2f}")


def opening(resident, tmux):
    def ours():
        resident.wait_for_output(resident.open("bash --norc -i"), PROMPT)

    def bare():
        child, master = bare_pty(["bash", "--norc", "-i"], resident.environment)
        shown = b""
        while PROMPT.encode() not in shown:
            shown += os.read(master, 4096)
        os.close(master)
        os.waitpid(child, 0)

    def beside():
        pane = tmux.run("new-window", "-d", "-P", "-F", "#{pane_id}", SHELL).strip()
        tmux.wait_for_output(pane, PROMPT.strip())
    print(f"  bash until its prompt: {milliseconds(ours, 50):.2f} ms (<= 5); "
          f"bare {milliseconds(bare, 50):.2f}, tmux {milliseconds(beside, 20):.2f}")


def usage(process):
    stat = pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()
    seconds = (int(stat[11]) + int(stat[12])) / os.sysconf("SC_CLK_TCK")
    for line in pathlib.Path(f"/proc/{process}/status").read_text().splitlines():
        if line.startswith("VmRSS"):
            return seconds, int(line.split()[1]) / 1024
    return seconds, 0


def idle(resident, seconds=5):
    sessions = [resident.open("bash --norc -i") for _ in range(200)]
    for session in sessions:
        resident.wait_for_output(session, PROMPT)
    resident.ask("exec", b"yes | head -c 1000000", id=sessions[0])
    before, memory = usage(resident.process.pid)
    time.sleep(seconds)
    after, _ = usage(resident.process.pid)
    print(f"  200 idle sessions: {memory:.0f} MB (<= 80), {(after - before) / seconds:.1%} of a core "
          "(<= 1%)")
    return sessions


def spawn(words, environment):
    null = os.open(os.devnull, os.O_RDWR)
    child = os.posix_spawnp(words[0], words, environment,
                            file_actions=[(os.POSIX_SPAWN_DUP2, null, 1)])
    os.close(null)
    os.waitpid(child, 0)


def listing(resident, tmux):
    ours = milliseconds(lambda: spawn([*resident.arguments, "mterm", "list"],
                                      resident.environment), 200)
    beside = milliseconds(lambda: spawn([*tmux.command, "ls"], tmux.environment), 100)
    nothing = milliseconds(lambda: spawn(["/bin/true"], tmux.environment), 100)
    print(f"  mb mterm list: {ours:.2f} ms (<= 2); tmux ls {beside:.2f}, /bin/true {nothing:.2f}")


def churn(resident, cycles):
    """Open and close over and over: descriptors and threads stay as many as they were."""
    def count():
        folder = pathlib.Path(f"/proc/{resident.process.pid}")
        return len(list((folder / "fd").iterdir())), len(list((folder / "task").iterdir()))
    for _ in range(20):
        resident.ask("close", id=resident.open("cat"))
    before = count()
    start = time.perf_counter()
    for _ in range(cycles):
        resident.ask("close", id=resident.open("cat"))
    spent = (time.perf_counter() - start) / cycles * 1000
    print(f"  {cycles} x open and close: {spent:.1f} ms each; descriptors and threads "
          f"{before} before, {count()} after")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--mb", required=True)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--cycles", type=int, default=500)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="mb-bench-") as name:
        folder = pathlib.Path(name)
        resident = Resident(str(pathlib.Path(options.mb).resolve()), folder)
        tmux = Tmux(folder, resident.environment)
        try:
            listing(resident, tmux)
            latencies(resident, tmux)
            opening(resident, tmux)
            throughput(resident, tmux, folder, options.rounds)
            churn(resident, options.cycles)
            idle(resident)
        finally:
            tmux.close()
            resident.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
