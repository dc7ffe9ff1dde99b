#!/usr/bin/env python3
"""Compares GET /health with nginx answering a fixed text, one connection per request.

    bench/http.py --server build/bench/bin/mb
    bench/http.py --server build/bench/bin/health_server      the server alone
    bench/http.py --server 'some other command {port}'
    bench/http.py --server build/bench/bin/mb --path /channels     a route for the user's own programs: each
                                                       connection is asked whose it is

Needs nginx and wrk. The two servers run at the same time and are measured in turns, so that whatever
else the machine does meets both. Prints each run, the medians and their ratio.
"""

import argparse
import contextlib
import pathlib
import re
import shlex
import shutil
import socket
import statistics
import subprocess
import sys
import tempfile
import time

BODY = '{"ok":true,"app":"Mirebolt","version":"2.0.0"}'

NGINX_CONFIG = """
worker_processes auto;
pid {folder}/nginx.pid;
error_log {folder}/error.log;
daemon off;
events {{ worker_connections 1024; }}
http {{
  access_log off;
  keepalive_timeout 0;
  client_body_temp_path {folder}/body;
  proxy_temp_path {folder}/proxy;
  fastcgi_temp_path {folder}/fastcgi;
  uwsgi_temp_path {folder}/uwsgi;
  scgi_temp_path {folder}/scgi;
  server {{
    listen 127.0.0.1:{port};
    location / {{ default_type application/json; return 200 '{body}'; }}
  }}
}}
"""


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def answers(port):
    with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), 1) as peer:
        peer.sendall(b"GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n")
        return peer.recv(15).startswith(b"HTTP/1.1 200")
    return False


@contextlib.contextmanager
def running(command, port):
    """The server, up and answering; ended afterwards."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    try:
        deadline = time.monotonic() + 10
        while not answers(port):
            if process.poll() is not None or time.monotonic() > deadline:
                sys.exit(f"{command[0]} does not answer on port {port}")
            time.sleep(0.05)
        yield
    finally:
        process.terminate()
        process.wait()


def command_of(text, port, folder):
    if "{port}" in text:
        return shlex.split(text.format(port=port))
    words = shlex.split(text)
    if len(words) == 1 and pathlib.Path(words[0]).stem == "mb":
        return [*words, "--port", str(port), "--conf", f"{folder}/home", "serve"]
    return [*words, str(port)]


def requests_per_second(port, options):
    command = ["wrk", f"-t{options.threads}", f"-c{options.clients}", f"-d{options.seconds}s",
               "-H", "Connection: close", f"http://127.0.0.1:{port}{options.path}"]
    output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    # wrk counts the close that was asked for as no error, so any it tells of is a real one.
    for line in output.splitlines():
        if "Socket errors" in line or "Non-2xx" in line:
            print("   ", line.strip())
    return float(re.search(r"Requests/sec:\s+([\d.]+)", output).group(1))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--server", required=True,
                        help="mb, or a command that takes {port}, or the port at its end")
    parser.add_argument("--path", default="/health")
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--seconds", type=int, default=5)
    parser.add_argument("--threads", type=int, default=2)
    parser.add_argument("--clients", type=int, default=8)
    options = parser.parse_args()
    for tool in ("nginx", "wrk"):
        if shutil.which(tool) is None:
            sys.exit(f"{tool} is not installed")

    ours, theirs = free_port(), free_port()
    with tempfile.TemporaryDirectory() as folder:
        config = pathlib.Path(folder, "nginx.conf")
        config.write_text(NGINX_CONFIG.format(folder=folder, port=theirs, body=BODY))
        nginx = [shutil.which("nginx"), "-p", folder, "-e", f"{folder}/error.log", "-c", config]
        server = command_of(options.server, ours, folder)
        with running(server, ours), running(nginx, theirs):
            figures = {"server": [], "nginx": []}
            for run in range(options.runs):
                for name, port in (("server", ours), ("nginx", theirs)):
                    figures[name].append(requests_per_second(port, options))
                    print(f"run {run + 1}  {name:6}  {figures[name][-1]:10.0f} requests/s")
    median = {name: statistics.median(values) for name, values in figures.items()}
    print(f"median  server {median['server']:.0f}, nginx {median['nginx']:.0f} requests/s, "
          f"ratio {median['server'] / median['nginx']:.2f}")


if __name__ == "__main__":
    main()
