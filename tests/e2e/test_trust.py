"""Who may talk to the resident, whom its clients talk to, and what of it is written down."""
import json
import os
import pathlib
import shutil
import socket
import subprocess
import tempfile

import pytest

from conftest import Listener, Mirebolt, http, listens, raw, wait_until

STRANGER = 65534  # nobody
AS_STRANGER = ["setpriv", f"--reuid={STRANGER}", f"--regid={STRANGER}", "--clear-groups"]


@pytest.fixture
def open_mb(request):
    """A system that another account can reach, too: its executable and homes lie in an open folder."""
    if os.geteuid() != 0 or shutil.which("setpriv") is None:
        pytest.skip("only root can act as another user, by setpriv")
    with tempfile.TemporaryDirectory(dir="/tmp") as name:
        folder = pathlib.Path(name)
        folder.chmod(0o777)
        executable = folder / "mb"
        shutil.copy(request.config.getoption("--mb"), executable)
        system = Mirebolt(executable, "", folder)
        yield system
        system.close()


def as_stranger(mb, *words, stdin=""):
    """A client of another account; its home is its own."""
    return subprocess.run([*AS_STRANGER, *mb.arguments(*words, home=mb.folder / "stranger")],
                          input=stdin, capture_output=True, text=True, timeout=60, cwd="/",
                          env={**mb.environment, "XDG_RUNTIME_DIR": ""}, check=False)


ASK = """
import socket, sys
for line in sys.stdin.read().split("\\0"):
    with socket.create_connection(("127.0.0.1", int(sys.argv[1])), 20) as peer:
        peer.sendall(line.encode())
        answer = b""
        while piece := peer.recv(65536):
            answer += piece
    print(answer.split()[1].decode())
"""


def test_another_account_gets_no_further_than_health(open_mb):
    mb = open_mb
    mb.serve()
    marker = mb.folder / "marker"
    body = f"!touch {marker}"
    requests = {
        "GET /health": "200", "GET /": "200", "GET /mcp": "200",
        f"GET /interp?cmd=!touch+{marker}": "403", "POST /interp": "403",
        "POST /console/exec?bot=cli": "403", "POST /term/open": "403", "POST /mcp": "403",
        "POST /rpc": "403", "POST /": "403", "GET /ui/api/status": "403", "GET /vc/dirs": "403",
        "GET /chatlog": "403", "POST /chat/say": "403",
        "POST /shutdown": "403",
    }
    text = "\0".join(f"{line} HTTP/1.1\r\nHost: 127.0.0.1\r\nX-Mrb-Control: shutdown\r\n"
                     f"Content-Length: {len(body)}\r\n\r\n{body}" for line in requests)
    asked = subprocess.run([*AS_STRANGER, "/usr/bin/python3", "-c", ASK, str(mb.port)], input=text,
                           capture_output=True, text=True, timeout=60, cwd="/", check=True)
    assert dict(zip(requests, asked.stdout.split())) == requests
    assert not marker.exists() and listens(mb.port)
    assert http(mb.port, f"GET /interp?cmd=!touch+{marker} HTTP/1.1")[0] == 200
    assert marker.exists()


def test_a_program_may_come_by_a_socket_of_both_families(mb):
    mb.serve()
    with socket.socket(socket.AF_INET6) as peer:
        peer.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_V6ONLY, 0)
        peer.connect(("::ffff:127.0.0.1", mb.port))
        peer.sendall(b"GET /interp?cmd=memory.striptotokens+AB HTTP/1.1\r\n\r\n")
        assert peer.recv(4096).endswith(b"OK: ab")


def test_a_client_tells_a_resident_of_another_account_nothing(open_mb):
    mb = open_mb
    mb.serve()
    done = as_stranger(mb, "memory.add", "me,", "notes,", "t,", ",", "for", "me", "alone")
    assert "is held by the Mirebolt resident of root — running this command locally" in done.stderr
    assert done.stdout.startswith("OK: memory 't' added"), done
    assert not (mb.home / ".contexts" / "notes").exists()
    answer = as_stranger(mb, "mcp", stdin='{"jsonrpc":"2.0","id":1,"method":"tools/call","params":'
                         '{"name":"memory.retrieve","arguments":{"context":"notes","topic":"t"}}}\n')
    assert json.loads(answer.stdout)["result"]["content"][0]["text"] == "for me alone"
    assert as_stranger(mb, "mterm", "list").returncode == 1


def test_root_is_served_by_anybodys_resident_but_asks_its_own(open_mb):
    mb = open_mb
    child = subprocess.Popen([*AS_STRANGER, *mb.arguments("serve", home=mb.folder / "stranger")],
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, cwd="/",
                             stderr=subprocess.STDOUT, env={**mb.environment, "XDG_RUNTIME_DIR": ""})
    mb.children.append(child)
    wait_until(lambda: listens(mb.port), "a resident that answers")
    assert http(mb.port, "GET /interp?cmd=!id+-u HTTP/1.1")[2].endswith(str(STRANGER).encode())
    done = mb.run("memory.add", "me,", "notes,", "t,", ",", "words")
    assert "is held by the Mirebolt resident of nobody — running" in done.stderr
    assert (mb.home / ".contexts" / "notes").exists()


def test_a_message_goes_to_no_program_that_took_the_port(mb):
    """The resident is gone, and before it is back a program of the same user listens in its place."""
    mb.serve()
    client = subprocess.Popen(mb.arguments("mcp"), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              text=True, env=mb.environment, cwd=mb.folder)

    def ask(message):
        client.stdin.write(json.dumps(message) + "\n")
        client.stdin.flush()

    try:
        ask({"jsonrpc": "2.0", "id": 1, "method": "ping"})
        assert json.loads(client.stdout.readline())["result"] == {}
        mb.kill_resident()
        with Listener(mb.port, b"HTTP/1.1 200 OK\r\n\r\nhi") as foreign:
            ask({"jsonrpc": "2.0", "method": "notifications/initialized"})
            ask({"jsonrpc": "2.0", "id": "b", "method": "ping"})
            answer = json.loads(client.stdout.readline())
            assert (answer["id"], "result" in answer) == ("b", False)
            heard = [request for request in foreign.requests if request.strip()]
            assert heard and all(request.startswith(b"GET /health ") for request in heard)
    finally:
        client.stdin.close()
        client.wait(30)
        client.stdout.close()


@pytest.mark.parametrize("head,body,told", [
    ("200 OK", '{"jsonrpc":"2.0",\n"id":7,"result":{}}', {"jsonrpc": "2.0", "id": 7, "result": {}}),
    ("202 Accepted", "", None),
    ("200 OK", "hi", "no message (status 200)"),
    ("200 OK", '{"a":1} and more', "no message (status 200)"),
    ("500 Internal Server Error", '{"ok":false,"error":"out of memory"}', "refused: out of memory"),
    ("404 Not Found", '{"jsonrpc":"2.0","id":7,"result":{}}', "no message (status 404)"),
])
def test_only_messages_are_passed_on(mb, head, body, told):
    """What answers is taken for a resident, and says something else to a message."""
    def reply(request, peer):
        if request.startswith(b"GET /health"):
            peer.sendall(b"HTTP/1.1 200 OK\r\n\r\n" + b'{"ok":true,"app":"Mirebolt","version":"2.0.0"}')
        else:
            peer.sendall(f"HTTP/1.1 {head}\r\nContent-Length: {len(body)}\r\n\r\n{body}".encode())

    messages = ('{"jsonrpc":"2.0","method":"notifications/initialized"}\n'
                '{"jsonrpc":"2.0","id":7,"method":"ping"}\n')
    with Listener(mb.port, reply) as peer:
        lines = mb.run("mcp", stdin=messages).stdout.splitlines()
    message = next(request for request in peer.requests if request.startswith(b"POST /mcp"))
    names = [line.split(b":")[0] for line in message.partition(b"\r\n\r\n")[0].split(b"\r\n")[1:]]
    assert names == [b"Host", b"Content-Type", b"Content-Length", b"X-Mrb-Cwd", b"X-Mrb-Folder",
                     b"X-Mrb-Home", b"Mcp-Session-Id", b"X-Mrb-Call", b"Connection"]
    if told is None:
        assert lines == []
    elif isinstance(told, dict):  # a server that answers a notification is its client's business
        assert [json.loads(line) for line in lines] == [told, told]
    else:
        (line,) = lines
        answer = json.loads(line)
        assert (answer["id"], answer["error"]["message"].endswith(told)) == (7, True), answer


def test_no_secret_reaches_the_log(mb):
    """Marks everything that a user says in a session, and looks for the mark in what is logged."""
    mark = "s3cr3t"
    mb.run("memory.add", "me,", f"{mark},", f"{mark},", f"{mark},", mark)
    mb.run(f"!echo {mark}")
    mb.run(mark, mark)
    mb.run("fs:cat", f"/{mark}")
    mb.run("enroll", f"/no/such/{mark}")
    for line, body in [
            ("POST /term/open", f"/no/such/{mark} --token {mark}"),
            ("POST /term/open?host=" + mark, ""),
            (f"GET /interp?cmd={mark}", ""), ("POST /interp", f"memory.add a, b, c, , {mark}"),
            (f"POST /chat/say?from={mark}", mark), ("POST /mcp", mark),
            ("POST /mcp", json.dumps({"jsonrpc": "2.0", "id": mark, "method": mark})),
            (f"GET /{mark}", ""), (f"{mark} {mark}", mark)]:
        http(mb.port, f"{line} HTTP/1.1\nX-Mrb-Cwd: /{mark}\nCookie: {mark}\nAuthorization: {mark}",
             body.encode())
    opened = json.loads(http(mb.port, "POST /term/open HTTP/1.1", b"/bin/sh")[2])["id"]
    http(mb.port, f"POST /term/exec?id={opened} HTTP/1.1", f"echo {mark}".encode())
    with socket.create_connection(("127.0.0.1", mb.port)) as peer:
        peer.sendall(f"POST /interp HTTP/1.1\r\nContent-Length: 99\r\n\r\n{mark}".encode())
    raw(mb.port, f"GET /ui/ HTTP/1.1\r\nOrigin: http://{mark}.example\r\n\r\n".encode())
    mb.shutdown()
    log = (mb.home / "logs" / f"resident-{mb.port}.log").read_text()
    assert "orchestration server listening" in log
    assert mark not in log


@pytest.mark.parametrize("setting,says,outside", [
    ("", "listens: all interfaces", True),
    ("listen = all", "listens: all interfaces", True),
    ("listen = loopback", "listens: loopback (127.0.0.1 alone)", False),
])
def test_the_setting_listen(mb, setting, says, outside):
    mb.home.mkdir(mode=0o700)
    (mb.home / "mirebolt.cfg").write_text(setting + "\n")
    child = mb.serve()
    bound = pathlib.Path("/proc/net/tcp").read_text()
    assert (f" 00000000:{mb.port:04X} 00000000:0000 0A" in bound) == outside
    assert (f" 0100007F:{mb.port:04X} 00000000:0000 0A" in bound) != outside
    mb.shutdown()
    assert says in child.stdout.read()


@pytest.mark.smoke
def test_a_setting_listen_that_is_none_opens_nothing(mb):
    mb.home.mkdir(mode=0o700)
    (mb.home / "mirebolt.cfg").write_text("listen = loopbak\n")
    done = mb.run("serve")
    assert done.returncode == 1
    assert "the setting listen is 'loopbak', and may be all or loopback" in done.stderr
