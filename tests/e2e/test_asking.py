"""Questions to versioned trees and memory, through the client's own quoting and the resident."""
from test_versioned_files import make_tree, shown


def test_grep_find_and_queries_through_the_resident(mb):
    root = make_tree(mb, {"src/a.cpp": 'int call("a b");\nint \\d\n', "notes.md": "it's here\n"})
    mb.serve()
    mb.out("enroll", shown(mb, root))
    assert mb.out("grep", 'call("a b")', "-F") == 'src/a.cpp:1:int call("a b");\n'.strip()
    assert mb.out("grep", "it's") == "notes.md:1:it's here"
    assert mb.out("grep", "\\\\d", "src") == "src/a.cpp:2:int \\d"
    assert mb.out("grep", "int", ".", cwd=root / "src").startswith("src/a.cpp:1:")
    assert mb.out("find", "name:*.md").startswith("OK: 1 file(s)\n  notes.md  v1  10b  ")
    assert "  $1  notes.md" in mb.out("registers")
    assert mb.out('?( name()==$1 && body("HERE") )').startswith("OK: 1 match(es)\n  [1] notes.md  <v1")
    mb.out("memory.add", "me,", "c,", "build,", ",", "slow", "compiler")
    assert mb.out("memory.query", "me,", "c,", 'body("comp")') == "OK: 1 match(es)\n  build#1 [untyped]  slow compiler"


def test_an_edit_is_one_version_of_every_file_and_on_the_disk(mb):
    root = make_tree(mb, {"a.txt": "one two\n", "b.txt": "two\n", "c.txt": "none\n"})
    mb.serve()
    mb.out("enroll", shown(mb, root))
    other = mb.folder / "other"
    other.mkdir()
    (other / "two.txt").write_text("two\n")
    mb.out("enroll", shown(mb, other))
    mb.out("i", "am", "Ann")
    assert f"{shown(mb, root / 'a.txt')}:1:one two" in mb.out("grep", "two")
    # Blanks that lost their quotes on the way must not become paths.
    assert mb.out("grep:edit", "one two", "three", "--apply").startswith("ERROR: no versioned file fits 'three'")
    assert "2 replacement(s) in 2 file(s)" in mb.out("grep:edit", "t(w)o", "$1$1", f"--store={shown(mb, root)}",
                                                      "--apply")
    assert (root / "a.txt").read_text() == "one ww\n"
    assert (other / "two.txt").read_text() == "two\n"
    log = mb.out("history", shown(mb, root / "b.txt"))
    assert "(2 versions)" in log and "v2  Ann" in log
