"""MCP as agents use it: the official client, many at once, and what no client should send."""
import concurrent.futures
import json
import pathlib
import subprocess
import threading

import pytest

from conftest import http, wait_until

CLIENT = pathlib.Path(__file__).resolve().parent.parent / "mcp_client"


@pytest.fixture(scope="module")
def official_client():
    """The script that drives the official client; its packages are installed when they are not."""
    done = CLIENT / "node_modules" / ".package-lock.json"
    lock = CLIENT / "package-lock.json"
    if not done.exists() or done.stat().st_mtime < lock.stat().st_mtime:
        subprocess.run(["npm", "ci", "--ignore-scripts"], cwd=CLIENT, check=True,
                       stdout=subprocess.DEVNULL)
    return CLIENT / "drive.mjs"


def post(port, body, headers=""):
    if not isinstance(body, bytes):
        body = json.dumps(body).encode()
    return http(port, f"POST /mcp HTTP/1.1{headers}", body)


def call(port, tool, headers="", **arguments):
    status, _, body = post(port, {"jsonrpc": "2.0", "id": 1, "method": "tools/call",
                                  "params": {"name": tool, "arguments": arguments}}, headers)
    assert status == 200
    result = json.loads(body)["result"]
    return result["content"][0]["text"], result["isError"]


@pytest.mark.parametrize("transport", ["http", "stdio"])
def test_the_official_client_drives_it(mb, official_client, transport):
    mb.serve()
    target = ([f"http://127.0.0.1:{mb.port}/mcp"] if transport == "http"
              else mb.arguments("mcp"))
    done = subprocess.run(["node", official_client, transport, *target], capture_output=True,
                          text=True, timeout=60, env=mb.environment, cwd=mb.folder, check=False)
    assert done.returncode == 0, done.stderr
    got = json.loads(done.stdout)
    assert got["server"]["name"] == "Mirebolt-mcp"
    assert (len(got["tools"]), got["tools"][0], got["tools"][75]) == (76, "mrb.run", "term.close")
    assert got["added"]["text"].startswith("OK: memory 'greeting' added")
    assert got["retrieved"] == {"text": "hallo, wörld ✓", "isError": False}
    assert got["refused"]["isError"] and "content" in got["refused"]["text"]
    assert got["said"]["text"] == "posted"
    assert f"driver: hello by {transport}" in got["heard"]["text"]
    assert json.loads(got["exec"]["text"])["output"].strip() == "from-42"
    assert got["closed"]["text"] == '{"ok":true}'
    assert f"mrb:///ctx/sdk-{transport}" in got["resources"] and got["templates"] == 5
    assert got["topic"] == "hallo, wörld ✓"
    assert got["prompts"] == ["resume-session", "remember-decision", "review-history"]
    assert "'app'" in got["prompt"]
    assert got["completion"] == [f"sdk-{transport}"]
    assert got["unknown"]["code"] == -32602
    assert "unknown resource uri: mrb:///nothing" in got["unknown"]["message"]


def test_eight_agents_lose_nothing(mb):
    mb.serve()
    tree = mb.folder / "tree"
    tree.mkdir()
    mb.out("enroll", str(tree))
    path = str(tree / "shared.txt")

    def agent(number):
        for step in range(20):
            text = f"agent {number} step {step}"
            answer, failed = call(mb.port, "memory.addmemo", context="shared", topic="all",
                                  content=text)
            assert not failed, answer
            answer, failed = call(mb.port, "fs.write", path=path, content=text)
            assert not failed, answer
            answer, failed = call(mb.port, "memory.keywords", context="shared", keyword="agent")
            assert not failed, answer

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        for done in [pool.submit(agent, number) for number in range(8)]:
            done.result()
    said = {f"agent {number} step {step}" for number in range(8) for step in range(20)}
    assert set(call(mb.port, "memory.retrieve", context="shared", topic="all")[0].split("\n")) == said
    log = call(mb.port, "vc.log", path=path)[0]
    assert "v160  mcp" in log  # the oldest are no longer listed, but can be read
    kept = {call(mb.port, "vc.open_version", path=path, version=n)[0] for n in range(1, 161)}
    assert {text.rstrip("\n").rsplit("\n", 1)[-1] for text in kept} == said


MESSAGE = b'{"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"memory.add","arguments":%s}}'
BAD = [
    b"", b"\xff\xfe", b'{"jsonrpc"', b"null", b'"x"', b"[" * 100_000, b'{"a":' * 100_000,
    b'{"id":1,"method":"ping","params":7}', b'{"id":' + b"9" * 100_000 + b',"method":"ping"}',
    b'{"id":"\\ud800","method":"\\udfff"}', b'{"id":1,"id":2,"method":"no","method":"ping"}',
    MESSAGE % b'{"context":7,"topic":[],"content":{}}', MESSAGE % b'{"context":"a","context":"b"}',
    MESSAGE % b'{"context":"../x","topic":"t","content":"c"}',
    MESSAGE % b'{"context":"x","topic":"t\\n","content":"c"}', MESSAGE % (b"[" * 200 + b"]" * 200),
    b'{"id":1,"method":"ping","x":"' + b"y" * (33_554_432 - 31) + b'"}',
]


def test_bad_input_is_answered_and_survived(mb):
    mb.serve()
    for body in BAD:
        status, headers, answer = post(mb.port, body)
        assert status in (200, 400), body[:80]
        assert headers["content-type"] == "application/json"
        message = json.loads(answer, parse_int=str)  # an id may be longer than Python likes
        assert message["jsonrpc"] == "2.0" and ("result" in message) != ("error" in message)
    assert not (mb.home / ".contexts").exists()
    assert call(mb.port, "memory.contexts")[0].startswith("OK: 0 context(s)")


def test_long_answers_are_cut_and_continued(mb):
    (mb.home / "config").mkdir(parents=True)
    (mb.home / "mirebolt.cfg").write_text("mcp.maxanswer = 5000\n")
    mb.serve()
    tree = mb.folder / "tree"
    tree.mkdir()
    (tree / "big.bin").write_bytes(b"\xff\x00" * 15_000_000)
    lines = [f"line {n}" for n in range(2000)]
    (tree / "lines.txt").write_text("\n".join(lines) + "\n")
    mb.out("enroll", str(tree))
    text, failed = call(mb.port, "fs.read", path=str(tree / "big.bin"))
    assert not failed and len(text) < 5100 and "[this line goes on; " in text
    read, offset = [], 0
    while offset is not None:
        text, _ = call(mb.port, "fs.read", path=str(tree / "lines.txt"), offset=offset)
        assert len(text) <= 5000
        *shown, last = text.removesuffix("\n").split("\n")
        more = last.partition("call again with offset=")[2].rstrip("]")
        read += shown if more else [*shown, last]
        offset = int(more) if more else None
    assert read == lines


def test_a_slow_message_does_not_hold_back_the_next(mb):
    mb.serve()
    child = subprocess.Popen(mb.arguments("mcp"), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             text=True, env=mb.environment, cwd=mb.folder)
    request = {"jsonrpc": "2.0", "method": "tools/call", "params": {"name": "chat.read"}}
    try:
        for number in (1, 2):  # the first joins, the second waits
            child.stdin.write(json.dumps({**request, "id": number}) + "\n")
        child.stdin.write('{"jsonrpc":"2.0","id":3,"method":"ping"}\n')
        child.stdin.flush()
        assert [json.loads(child.stdout.readline())["id"] for _ in range(2)] == [1, 3]
        assert http(mb.port, "POST /chat/say?from=ann HTTP/1.1", b"at last")[0] == 200
        answer = json.loads(child.stdout.readline())
        assert (answer["id"], "ann: at last" in str(answer)) == (2, True)
        child.stdin.close()
        assert child.wait(30) == 0
    finally:
        child.kill()
        child.wait()
        child.stdout.close()


def test_without_a_resident_the_process_serves_itself(mb):
    import http.server as servers  # a foreign listener holds the port
    foreign = servers.HTTPServer(("127.0.0.1", mb.port), servers.BaseHTTPRequestHandler)
    threading.Thread(target=foreign.serve_forever, daemon=True).start()
    try:
        done = mb.run("mcp", stdin="\n".join(json.dumps(message) for message in [
            {"jsonrpc": "2.0", "id": 1, "method": "tools/call",
             "params": {"name": "memory.add",
                        "arguments": {"context": "c", "topic": "t", "content": "kept"}}},
            {"jsonrpc": "2.0", "method": "notifications/initialized"},
            {"jsonrpc": "2.0", "id": 2, "method": "tools/call",
             "params": {"name": "memory.retrieve", "arguments": {"context": "c", "topic": "t"}}},
            {"jsonrpc": "2.0", "id": 3, "method": "tools/call", "params": {"name": "term.list"}},
        ]))
    finally:
        foreign.shutdown()
        foreign.server_close()
    assert done.returncode == 0, done.stderr
    texts = [json.loads(line)["result"]["content"][0]["text"] for line in done.stdout.splitlines()]
    assert texts[0].startswith("OK: ")
    assert texts[1:] == ["kept", "ERROR: terminal not wired"]


def test_a_shared_terminal_talks_to_its_agent(mb):
    mb.serve()
    agent = "\nMcp-Session-Id: a1"
    post(mb.port, {"jsonrpc": "2.0", "id": 1, "method": "initialize",
                   "params": {"clientInfo": {"name": "coder"}}}, agent)
    assert call(mb.port, "chat.say", agent, text="here")[0] == "posted"
    terminal = json.loads(call(mb.port, "term.open")[0])["id"]
    assert http(mb.port, f"POST /term/share?id={terminal}&bot=coder HTTP/1.1", b"")[0] == 200
    heard = call(mb.port, "chat.read", agent, channel="@terminal")[0]
    assert "TERMINAL ATTACHED." in heard and f"::term.send {terminal} " in heard
    answer, failed = call(mb.port, "chat.say", agent, text=f"::term.send {terminal} echo so-$((1+1))")
    assert answer.startswith("OK: ") and not failed
    wait_until(lambda: "so-2" in call(mb.port, "term.read", id=terminal)[0], "the line's output")
    everything = ""
    while "so-2" not in everything:
        everything += call(mb.port, "chat.read", agent, channel="@terminal")[0]
    assert "so-2" not in http(mb.port, "GET /chatlog HTTP/1.1")[2].decode()
    stranger = call(mb.port, "chat.say", "\nMcp-Session-Id: b2", text=f"::term.send {terminal} rm x")
    assert stranger == ("ERROR: terminal is not shared with this bot", True)
