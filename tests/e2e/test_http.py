"""The resident as its peers on the wire see it."""
import json
import socket
import threading

import pytest

from conftest import http, raw

EXEC = "POST /console/exec?bot=me HTTP/1.1\nHost: 127.0.0.1"


@pytest.fixture
def port(mb):
    mb.serve()
    return mb.port


@pytest.mark.smoke
def test_health_to_the_byte(port):
    assert raw(port, b"GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n") == (
        b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 46\r\n"
        b"Cache-Control: no-store\r\nConnection: close\r\n\r\n"
        b'{"ok":true,"app":"Mirebolt","version":"2.0.0"}')


@pytest.mark.smoke
def test_exec_runs_a_line_and_escapes_its_answer(port):
    status, headers, body = http(port, EXEC, b">memory.striptotokens One TWO\r\n\n")
    assert (status, json.loads(body)) == (200, {"ok": True, "bot": "me", "out": "OK: one two"})
    assert headers["content-type"] == "application/json"
    http(port, EXEC, b"memory.add me, c, t, , \xff\x00\x1b\"\\")
    answer = json.loads(http(port, EXEC, b"memory.retrieve me, c, t")[2])
    assert answer["out"] == "�\x00\x1b\"\\"


FOREIGN = [
    "Origin: http://evil.example",
    "Origin: null",
    "Host: evil.example",
    "Sec-Fetch-Site: cross-site",
    "Sec-Fetch-Site: none",
    "Sec-Fetch-Mode: navigate",
    "User-Agent: Mozilla/5.0 (X11; Linux x86_64)",
    "Origin: http://127.0.0.1:1",
]


@pytest.mark.smoke
@pytest.mark.parametrize("header", FOREIGN)
def test_a_page_of_a_foreign_origin_cannot_run_a_command(mb, port, header):
    head = EXEC if not header.startswith("Host") else EXEC.replace("Host: 127.0.0.1", "X: y")
    status, _, body = http(port, f"{head}\n{header}", b"memory.add me, evil, t, , gotcha")
    assert (status, body) == (403, b'{"ok":false,"error":"/console/exec is loopback-only"}')
    status, _, _ = http(port, f"GET /interp?cmd=memory.add+me,evil,t,,x HTTP/1.1\n{header}")
    assert status == 403
    for path in ("/", "/rpc", "/mcp"):
        assert http(port, f"POST {path} HTTP/1.1\n{header}", b"{}")[0] == 403
    status, _, _ = http(port, f"POST /shutdown HTTP/1.1\n{header}\nX-Mrb-Control: shutdown\nContent-Length: 0")
    assert status == 403
    assert not (mb.home / ".contexts" / "evil").exists()


def test_own_pages_may(port):
    for header in (f"Origin: http://127.0.0.1:{port}", f"Origin: http://localhost:{port}",
                   "Sec-Fetch-Site: same-origin"):
        assert http(port, f"{EXEC}\n{header}", b"memory.striptotokens ab")[0] == 200, header


@pytest.mark.smoke
@pytest.mark.parametrize("request_line,status,body", [
    ("GET /no/such HTTP/1.1", 404, b"not found"),
    ("GET /ui/../secret HTTP/1.1", 404, b"no such ui file"),
    ("GET /ui/%2e%2e/secret HTTP/1.1", 404, b"no such ui file"),
    ("POST /shutdown HTTP/1.1\nContent-Length: 0", 403,
     b'{"ok":false,"error":"missing X-Mrb-Control: shutdown"}'),
    ("GET /console/tail HTTP/1.1", 400, b'{"ok":false,"error":"bot required"}'),
    ("GET /console/tail?bot=../../etc&off=9 HTTP/1.1", 200, b'{"ok":true,"off":0,"data":""}'),
    ("POST /console/exec?bot= HTTP/1.1\nContent-Length: 0", 400,
     b'{"ok":false,"error":"bot and command required"}'),
    ("GET /mcp HTTP/1.1", 200,
     "Mirebolt MCP server — POST JSON-RPC 2.0 to /mcp. Call tools/list to begin.".encode()),
])
def test_fixed_answers(port, request_line, status, body):
    assert http(port, request_line)[::2] == (status, body)


def test_the_page_without_files_carries_its_policy(port):
    status, headers, body = http(port, "GET / HTTP/1.1\nHost: localhost")
    assert status == 200 and b"<title>Mirebolt chat</title>" in body
    assert headers["content-security-policy"] == "default-src 'self'"
    assert headers["x-content-type-options"] == "nosniff"


@pytest.mark.smoke
@pytest.mark.parametrize("header", FOREIGN)
def test_a_page_of_a_foreign_origin_learns_nothing_of_the_pages_data(port, header):
    head = "X: y" if header.startswith("Host") else "Host: 127.0.0.1"
    for line in ("GET /ui/api/status HTTP/1.1", "GET /ui/api/memory/contexts HTTP/1.1",
                 "POST /ui/api/memory/add HTTP/1.1"):
        status, _, body = http(port, f"{line}\n{head}\n{header}", b"context=evil&topic=t&content=x")
        assert (status, body) == (403, b'{"ok":false,"error":"loopback only"}')


def test_a_page_hears_of_a_write_at_once_and_of_the_end(mb):
    child = mb.serve()

    def events(after, results):
        answer = json.loads(http(mb.port, f"GET /ui/api/events?after={after} HTTP/1.1")[2])
        results.append(answer)
        return answer

    after = events(0, [])["next"]
    heard = []
    page = threading.Thread(target=events, args=(after, heard))
    page.start()
    mb.out("memory.add", "me,", "notes,", "t,", ",", "words")
    page.join(10)
    assert [event["context"] for event in heard[0]["events"]] == ["notes"]
    with socket.create_connection(("127.0.0.1", mb.port)) as page:
        page.sendall(b"GET /ui/api/events?after=%d HTTP/1.1\r\n\r\n" % heard[0]["next"])
        mb.shutdown()  # does not wait for the 25 s of a page
    assert child.wait(10) == 0
