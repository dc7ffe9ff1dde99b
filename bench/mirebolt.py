"""The rows of bench/compare.py for `mb` itself: each is a function of an executable and a tree."""
import contextlib
import os
import pathlib
import socket
import statistics
import subprocess
import sys
import time

from measure import median, run, timed

DEADLINE = 120.0  # seconds; a bound for a machine that is busy
IDLE_SECONDS = 10
SETTLED_SECONDS = 6  # after which a resident has written down what the next start can believe
BOOKKEEPING_SECONDS = 35  # after saves, until that is written down again
SAVE_ROUNDS = 3


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def until(condition, what):
    """Asks again until the condition holds; the answer."""
    end = time.monotonic() + DEADLINE
    while time.monotonic() < end:
        with contextlib.suppress(OSError):
            if value := condition():
                return value
        time.sleep(0.003)  # often enough for the figure, too rarely to be in the way
    sys.exit(f"not within {DEADLINE} s: {what}")


class Resident:
    """One `mb serve` on a home and port of its own, killed at the end."""

    def __init__(self, mb, home):
        self.port = free_port()
        self.options = [mb, "--port", self.port, "--home", home]
        runtime = home.with_name(home.name + ".run")
        runtime.mkdir(mode=0o700, parents=True, exist_ok=True)
        self.environment = {**os.environ, "XDG_RUNTIME_DIR": str(runtime), "HOME": str(home)}
        self.process = subprocess.Popen([str(word) for word in [*self.options, "serve"]], env=self.environment,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()

    def post(self, line):
        """The answer to a line that is sent without a process."""
        body = line.encode()
        return self.exchange(f"POST /console/exec?bot=bench HTTP/1.1\r\nContent-Length: {len(body)}", body)

    def exchange(self, head, body=b""):
        with socket.create_connection(("127.0.0.1", self.port), DEADLINE) as peer:
            peer.sendall(head.encode() + b"\r\nHost: 127.0.0.1\r\n\r\n" + body)
            answer = b""
            while piece := peer.recv(1 << 20):
                answer += piece
        return answer.decode(errors="replace")

    def time(self, *words):
        """Milliseconds of one client process."""
        return run([*self.options, *words], self.environment)

    def asks(self, *words):
        """The answer of one client process, which has to begin "OK: "."""
        done = subprocess.run([str(word) for word in [*self.options, *words]], env=self.environment,
                              capture_output=True, text=True, timeout=DEADLINE, check=False)
        if not done.stdout.startswith("OK"):
            sys.exit(f"mb {' '.join(map(str, words))}: {done.stdout}{done.stderr}")
        return done.stdout

    def is_up(self):
        return " 200 " in self.exchange("GET /health HTTP/1.1")

    def cpu_seconds(self):
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def memory_bytes(self):
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return next(int(line.split()[1]) << 10 for line in status.splitlines() if line.startswith("VmRSS"))


@contextlib.contextmanager
def resident(mb, home):
    with Resident(mb, home) as running:
        until(running.is_up, "the resident answers")
        yield running


def enrol(mb, tree, home):
    """Milliseconds of one enrolment into a new home."""
    home.mkdir(parents=True)
    with resident(mb, home) as running:
        taken = timed(lambda: running.asks("enroll", tree))
    return taken


def restart(mb, path, home):
    """Milliseconds from the start of a resident until a file's history answers."""
    start = time.perf_counter()
    with Resident(mb, home) as running:
        until(lambda: running.is_up() and '"out":"LOG ' in running.post(f"fsvctl:log {path}"), "the history")
        return (time.perf_counter() - start) * 1000


def editor_save(running, path, i):
    """Milliseconds from a save past us until its content is the newest version."""
    text = f"saved by an editor, {i}"
    beside = path.with_name(path.name + "~new")
    start = time.perf_counter()
    beside.write_text(text)
    os.replace(beside, path)
    until(lambda: text in running.post(f"fs:cat {path}"), f"the save of {path}")
    return (time.perf_counter() - start) * 1000


def save_row(table, save, nothing, size, disk_bench, folder):
    """Saves beside what the system takes for two replaced files, turn by turn: a disk that others use too is now fast
    and now slow. `nothing` is a command that does none, whose time is that of the connection."""
    ours, inside, ratios = [], [], []
    for i in range(SAVE_ROUNDS):
        limit = subprocess.run([disk_bench, "--replace", folder], check=True, capture_output=True, text=True).stdout
        ours.append(median(17, lambda n, i=i: save(f"{i} {n}")))
        inside.append(ours[-1] - median(17, lambda _: nothing()))
        ratios.append(inside[-1] / float(limit.split()[-2]))
    table.add(f"mb save over one connection, {size} files", statistics.median(ours))
    table.add(f"mb save inside the resident, {size} files", statistics.median(inside),
              remark=f"{statistics.median(ratios):.2f} x two replaced files (at most 1.3 x)")


def rows(table, mb, tree, size, home):
    """`home` is a folder that is yet to be made; nothing in it is removed here, see compare.py."""
    many = size > 1000
    path = sorted(path for path in tree.rglob("*") if path.is_file())[0]
    table.add(f"mb enroll, {size} files", median(3, lambda i: enrol(mb, tree, home / str(i))),
              remark="at most 2000 ms" if many else "")
    home = home / "2"
    with resident(mb, home):
        time.sleep(SETTLED_SECONDS)
    table.add(f"mb restart until the history answers, {size} files", median(5, lambda _: restart(mb, path, home)),
              remark="at most 500 ms" if many else "")
    with resident(mb, home) as running:
        until(lambda: '"out":"LOG ' in running.post(f"fsvctl:log {path}"), "the history")
        for i in range(3):  # so that there is a version 3
            running.asks("write", path, "content:", f"prepared {i}")

        def save(i):
            return timed(lambda: running.post(f"fsmk:file <path>{path}</path><content>save {i}</content>"))

        save_row(table, save, lambda: timed(lambda: running.post("fssys:whoami")), size, mb.with_name("disk_bench"), home)
        table.add(f"mb write as a process, {size} files",
                  median(51, lambda i: running.time("write", path, "content:", f"text {i}")), remark="at most 8 ms")
        table.add(f"mb history p as a process, {size} files",
                  median(51, lambda _: running.time("history", path)), remark="at most 2 ms")
        table.add(f"mb fsvctl:open p 3 as a process, {size} files",
                  median(51, lambda _: running.time("fsvctl:open", path, "3")), remark="at most 2 ms")
        table.add(f"an editor's save until it is a version, {size} files",
                  median(11, lambda i: editor_save(running, path, i)), remark="at most 250 ms")
        time.sleep(BOOKKEEPING_SECONDS)
        before = running.cpu_seconds()
        time.sleep(IDLE_SECONDS)
        used = running.cpu_seconds() - before
        table.add(f"mb idle, {size} files", 100 * used / IDLE_SECONDS, "%", "of one core, at most 6 %")
        table.add_beside(f"mb heal pass, processor time, {size} files", 1000 * used / IDLE_SECONDS,
                         "status of each file, once a second" if many else "", 1.3)
        content = sum(name.stat().st_size for name in tree.rglob("*") if name.is_file())
        table.add(f"mb memory beyond the files' bytes, {size} files", (running.memory_bytes() - content) / size,
                  "B", "a file, at most 500 B" if many else "a file, most of it the resident itself")
