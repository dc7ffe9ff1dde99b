"""Nothing that was answered OK is lost, however the resident ends."""
import concurrent.futures
import json
import re

from conftest import http, wait_until

CLIENTS = 8
ENOUGH = 400  # answered adds before the kill


def test_kill_in_a_stream_of_adds_loses_no_answered_memo(mb):
    """Eight clients add memos until the resident dies under them; then everything answered must be
    there, in whole memos, and nothing that nobody sent."""
    mb.serve()
    answered = {i: [] for i in range(CLIENTS)}
    sent = set()

    def client(i):
        n = 0
        while True:
            text = f"client {i} memo {n} " + "x" * (1 + n * 37 % 900)
            sent.add(text)
            try:
                _, _, body = http(mb.port, "POST /console/exec?bot=me HTTP/1.1",
                                  f"memory.addmemo me, stream, topic{i}, , note, {text}".encode())
            except (OSError, ValueError, IndexError):
                return
            if body and json.loads(body)["out"].startswith("OK: "):
                answered[i].append(text)
            n += 1

    with concurrent.futures.ThreadPoolExecutor(CLIENTS + 1) as pool:
        streams = [pool.submit(client, i) for i in range(CLIENTS)]
        wait_until(lambda: sum(len(texts) for texts in answered.values()) >= ENOUGH, "enough adds")
        mb.kill_resident()
        for stream in streams:
            stream.result()

    for i in range(CLIENTS):
        kept = mb.out(f"memory.retrieve me, stream, topic{i}").split("\n")
        assert kept[:len(answered[i])] == answered[i]
        assert set(kept) <= sent
        assert len(kept) - len(answered[i]) <= 1  # the memo whose answer the kill cut off
    stats = mb.out("memory.stats me, stream")
    assert int(re.search(r"memos: +(\d+)", stats).group(1)) >= ENOUGH


def test_a_torn_tail_costs_the_cut_memo_alone(mb):
    for text in ("first", "second"):
        mb.out(f"memory.addmemo me, torn, t, , note, {text}")
    mb.kill_resident()
    store = mb.home / ".contexts" / "torn" / "data.mrb4"
    store.write_bytes(store.read_bytes()[:-3])
    assert mb.out("memory.retrieve me, torn, t") == "first"
    mb.out("memory.addmemo me, torn, t, , note, third")
    mb.kill_resident()
    assert mb.out("memory.retrieve me, torn, t") == "first\nthird"


def test_a_store_of_another_format_is_left_alone(mb):
    folder = mb.home / ".contexts" / "odd"
    folder.mkdir(parents=True)
    (folder / "data.mrb4").write_bytes(b"NOPE" + bytes(100))
    refused = mb.out("memory.add me, odd, t, , text")
    assert refused.startswith("ERROR: ")
    assert (folder / "data.mrb4").read_bytes() == b"NOPE" + bytes(100)


def test_odd_context_names_never_touch_the_disk(mb):
    mb.serve()
    for name in ("..", "../up", "a/b", ".hidden", "con", "x" * 129, "a ", "dot.", "tab\tx"):
        body = f"memory.add me, {name}, t, , text".encode()
        answer = json.loads(http(mb.port, "POST /console/exec?bot=me HTTP/1.1", body)[2])["out"]
        if name != "a ":  # fields are trimmed
            assert answer.startswith("ERROR: "), (name, answer)
    contexts = mb.home / ".contexts"
    assert sorted(p.name for p in contexts.iterdir()) == ["a"]
    assert not (mb.home / "up").exists()
