#!/usr/bin/env python3
"""How soon the resident answers its user while hosts of the network hold connections to it.

    bench/drip.py --server build/bench/bin/mb [--peers 1000] [--seconds 10]

The peers open connections from outside, send a request's head a byte a second, and come back when they are
closed. Meanwhile GET /health is asked over loopback every 20 ms. All of it happens in a network namespace of
its own (unshare, ip), where an address that is not 127.0.0.0/8 stands for the network.
"""
import argparse
import contextlib
import os
import pathlib
import shutil
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time

OUTSIDE = "10.77.0.1"
PORT = 9999


def enter_namespace():
    """Starts this script again where no other program's addresses are."""
    as_root = [] if os.geteuid() == 0 else ["--map-root-user"]
    os.execvp("unshare", ["unshare", *as_root, "--net", sys.executable, *sys.argv, "--inside"])


def health():
    """Seconds until GET /health is answered; None when it is not within 30."""
    started = time.perf_counter()
    with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", PORT), 30) as peer:
        peer.sendall(b"GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n")
        if peer.recv(4096).startswith(b"HTTP/1.1 200"):
            return time.perf_counter() - started
    return None


class Dripping:
    """One connection from outside at a time."""

    def __init__(self):
        self.peer = None
        self.left = b""

    def drip(self):
        try:
            if self.peer is None:
                self.peer = socket.socket()
                self.peer.setblocking(False)
                self.peer.connect_ex((OUTSIDE, PORT))
                self.left = b"GET /health HTTP/1.1\r\nX: " + b"x" * 60000
            self.peer.send(self.left[:1])
            self.left = self.left[1:]
        except BlockingIOError:
            pass
        except OSError:
            self.peer.close()
            self.peer = None


def drip_until(stopped, peers):
    while not stopped.is_set():
        began = time.monotonic()
        for peer in peers:
            peer.drip()
        stopped.wait(max(0.0, 1 - (time.monotonic() - began)))


def measure(options):
    stopped = threading.Event()
    peers = [Dripping() for _ in range(options.peers)]
    threads = [threading.Thread(target=drip_until, args=(stopped, peers[i::4])) for i in range(4)]
    quiet = [health() for _ in range(50)]
    for thread in threads:
        thread.start()
    time.sleep(3)
    busy = []
    end = time.monotonic() + options.seconds
    while time.monotonic() < end:
        busy.append(health())
        time.sleep(0.02)
    stopped.set()
    for thread in threads:
        thread.join()
    for name, times in (("quiet", quiet), ("dripping", busy)):
        lost = times.count(None)
        ms = sorted(1000 * each for each in times if each is not None) or [float("nan")]
        print(f"{name:9} {len(times):4} asked, {lost} not answered; median {statistics.median(ms):.2f} ms, "
              f"p99 {ms[int(len(ms) * 0.99)]:.2f} ms, longest {ms[-1]:.2f} ms")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--server", required=True, help="the executable mb")
    parser.add_argument("--peers", type=int, default=1000)
    parser.add_argument("--seconds", type=int, default=10)
    parser.add_argument("--inside", action="store_true", help=argparse.SUPPRESS)
    options = parser.parse_args()
    for tool in ("unshare", "ip"):
        if shutil.which(tool) is None:
            sys.exit(f"{tool} is not installed")
    if not options.inside:
        enter_namespace()
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    subprocess.run(["ip", "address", "add", f"{OUTSIDE}/32", "dev", "lo"], check=True)
    with tempfile.TemporaryDirectory() as folder:
        mb = str(pathlib.Path(options.server).resolve())
        server = subprocess.Popen([mb, "--port", str(PORT), "--conf", f"{folder}/home", "serve"],
                                  stdout=subprocess.DEVNULL, env={**os.environ, "XDG_RUNTIME_DIR": folder})
        try:
            deadline = time.monotonic() + 10
            while health() is None and time.monotonic() < deadline:
                time.sleep(0.05)
            measure(options)
        finally:
            server.kill()
            server.wait()


if __name__ == "__main__":
    main()
