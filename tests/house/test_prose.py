"""No file speaks of a document that its reader does not have, or of one machine's folders."""

import pytest

import prose


def test_no_file_has_such_a_phrase(root):
    files = prose.texts(root)
    assert len(files) > 500
    found = prose.faults(files)
    assert not found, "\n".join(found)


@pytest.mark.parametrize("text,lines", (
    ("as in the\n  // specification", [1]),
    ("see Part 3.1 and parts 2.4", [1, 1]),
    ("\nrounded as specified, Part 7", [2, 2]),
    ("in /home/someone/orvik and \"/work/x\"", [1, 1]),
    ("parts 4, Parts 0 to 1, special, build/work/x, {source}/root/y", []),
))
def test_a_phrase_is_found(text, lines):
    assert [int(fault.split(":")[1]) for fault in prose.faults({"a.md": text})] == lines
