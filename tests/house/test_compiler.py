"""The compiler itself finds no header of a folder that is not linked."""

import json
import os
import shlex
import subprocess

import pytest


def compile_as(build, source, text):
    """Compiles the text with the flags of the source, without output; returns the result."""
    commands = json.loads((build / "compile_commands.json").read_text())
    entry = next(entry for entry in commands if entry["file"].endswith("/" + source))
    words = shlex.split(entry["command"])
    words = words[next(i for i, word in enumerate(words) if "ccache" not in word):]
    flags = words[:words.index("-o")]
    return subprocess.run([*flags, "-fsyntax-only", "-x", "c++", "-"], input=text, cwd=entry["directory"], text=True,
                          capture_output=True, check=False, env=os.environ | {"LC_ALL": "C"})


@pytest.mark.parametrize("source,header", (
    ("src/services/dbshm.cpp", "src/pages/page_tables.h"),
    ("unit/board/keys.cpp", "host/protocol/protocol.h"),
    ("host/crane/crane.cpp", "bus/can_frame.h"),
    ("host/link/inject.cpp", "platform/linux/unshared_descriptor.h"),
))
def test_a_header_of_an_unlinked_folder_is_not_found(root, build, source, header):
    assert (root / header).is_file()
    result = compile_as(build, source, f'#include "{header}"\n')
    assert result.returncode != 0
    assert f"{header}: No such file" in result.stderr or f"'{header}' file not found" in result.stderr


def test_a_header_of_its_own_folder_is_found(build):
    result = compile_as(build, "src/services/dbshm.cpp", '#include "src/services/nm_messages.h"\n')
    assert result.returncode == 0, result.stderr
