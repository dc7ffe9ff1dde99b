"""Recall, whole contexts and model types, as a user and a killed resident meet them."""
import contextlib
import http.server
import json
import random
import re
import threading

import pytest

from conftest import http as post
from conftest import wait_until


@pytest.mark.smoke
def test_contexts_travel_by_files_named_from_the_callers_folder(mb, tmp_path):
    mb.out("memory.addmemo me, notes, build, , note, Anna: the build broke on 2026-09-12")
    mb.out("memory.addmemo me, notes, build, , , it works since then")
    assert "exported -> " in mb.out("memory.export me, notes, out.mrb4", cwd=tmp_path)
    store = mb.home / ".contexts" / "notes" / "data.mrb4"
    assert (tmp_path / "out.mrb4").read_bytes() == store.read_bytes()
    assert mb.out("memory.import me, copy, out.mrb4", cwd=tmp_path).startswith(
        "OK: imported 2 memo(s) across 1 topic(s) (1 new) from ")
    assert mb.out("memory.rename me, copy, again") == "OK: context 'copy' renamed to 'again'"
    assert mb.out("memory.who me, again, anna") == "OK: 1 topic(s) on who 'anna'\n  build  (anna)"
    assert mb.out("memory.archive me, again").startswith("OK: context 'again' archived -> ")
    assert mb.out("memory.search me, {notes, again}, broke").startswith(
        "OK: 1 hit(s) across 2 context(s) for 'broke'")
    assert mb.out("memory.unarchive me, again").startswith("OK: context 'again' restored")
    assert mb.out("memory.lint me, again") == "OK: context 'again' is clean (1 topic(s) checked)"


class Embedder(http.server.BaseHTTPRequestHandler):
    """Vectors of how often each letter is in the text; one answer shape after the other."""
    protocol_version = "HTTP/1.1"
    calls = 0

    def do_POST(self):
        asked = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        assert self.path == "/api/embeddings" and asked["model"] == "nomic-embed-text"
        vector = [float(asked["prompt"].count(chr(c))) for c in range(ord("a"), ord("z") + 1)]
        Embedder.calls += 1
        shapes = [{"embedding": vector}, {"embeddings": [vector]}]
        body = json.dumps(shapes[Embedder.calls % 2]).encode()
        self.send_response(200)
        self.send_header("Transfer-Encoding", "chunked")
        self.end_headers()
        for part in (body[:7], body[7:]):
            self.wfile.write(b"%x\r\n%s\r\n" % (len(part), part))
        self.wfile.write(b"0\r\n\r\n")

    def log_message(self, *_):
        pass


@contextlib.contextmanager
def embedder():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Embedder)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    try:
        yield server.server_address[1]
    finally:
        server.shutdown()
        server.server_close()


def test_the_semantic_lane_asks_the_embedding_server(mb):
    with embedder() as port:
        mb.environment["OLLAMA_HOST"] = f"http://127.0.0.1:{port}"
        mb.out("memory.addmemo me, c, t, , , before the lane")
        assert mb.out("memory.embed me, c, on").startswith("OK: semantic lane for 'c' is ARMED")
        for text in ("zzz zoo", "aaa aha", "mmm"):
            mb.out(f"memory.addmemo me, c, t, , , {text}")
        mb.kill_resident()  # vectors are in the records, the lane in its file
        assert "\n  t#2 [untyped]  cos=1.000  zzz zoo" in mb.out("memory.semantic me, c, zzz zoo")
        assert "+sem" in mb.out("memory.keywords me, c, zoo")
        assert mb.out("memory.cachekeys me, c, local").endswith(", CURRENT")
    # The server is gone: words alone answer, and memos are stored without a vector.
    assert "[stored without a vector: " in mb.out("memory.addmemo me, c, t, , , later")
    assert mb.out("memory.keywords me, c, later").startswith("OK: 1 memo hit(s):")


def test_kill_while_keys_and_folders_move_leaves_everything_in_step(mb, tmp_path):
    """Whatever the kill cuts short, each context is clean afterwards and its keys name their own
    memos: the label of a memo is its text."""
    mb.out("memory.addmemo me, seed, s, , , seed")
    mb.out("memory.export me, seed, seed.mrb4", cwd=tmp_path)
    rng = random.Random(5)

    def line(n):
        where = rng.choice("ab")
        return rng.choice([
            f"memory.addmemo me, {where}, t, , , text{n}",
            f"memory.addmemo me, {where}, t, , , text{n} {'x' * rng.randrange(400)}",
            f"memory.deletememo me, {where}, t, {rng.randrange(1, 4)}",
            f"memory.update me, {where}, t, {rng.randrange(1, 4)}, , , text{n}",
            f"memory.cachekeys me, {where}, m, 5",
            f"memory.rename me, {where}, {'ab'[where == 'a']}",
            f"memory.archive me, {where}", f"memory.unarchive me, {where}",
            f"memory.import me, {where}, {tmp_path / 'seed.mrb4'}",
        ])

    def command(text):
        body = post(mb.port, "POST /console/exec?bot=me HTTP/1.1", text.encode())[2]
        return json.loads(body)["out"]

    def client(stopped, answers):
        n = 0
        try:
            while not stopped.is_set():
                answer = command(line(n))
                for offset, memo in re.findall(r"@(\d+)  t#\d+ \[untyped\]  (text\d+)", answer):
                    where = re.search(r"context '(.)'", answer).group(1)
                    command(f"memory.cachekey me, {where}, m, @{offset}={memo}")
                answers.append(answer)
                n += 1
        except (OSError, ValueError, IndexError):
            pass  # the resident has died under it

    for _ in range(3):
        mb.out("memory.contexts me")  # brings a resident up
        stopped, answers = threading.Event(), []
        thread = threading.Thread(target=client, args=(stopped, answers))
        thread.start()
        wait_until(lambda: len(answers) >= 120 + rng.randrange(40), "enough answers")
        mb.kill_resident()
        stopped.set()
        thread.join()
        for where in "ab":
            mb.run(f"memory.unarchive me, {where}")
            assert "is clean" in mb.out(f"memory.lint me, {where}")
            unkeyed = re.findall(r"\n  (@\d+)  ", mb.out(f"memory.cachekeys me, {where}, m, 9999"))
            rest = ";".join(f"{offset}=rest" for offset in unkeyed)
            mb.out(f"memory.cachekey me, {where}, m, {rest}")
            listed = mb.run(f"memory.modelkeywords me, {where}, m, " +
                            " ".join(f"text{i}" for i in range(400))).stdout
            assert listed.startswith("OK: ")
            for memo, label in re.findall(r"t#(\d+) \[untyped\]  label=(text\d+)", listed):
                assert f"\n{label}" in mb.out(f"memory.getmemo me, {where}, t, {memo}")
