"""The manual pages and completions say what the programs accept, and the tools that read them take them."""

import os
import pty
import re
import select
import subprocess
import sys
import time
from pathlib import Path

import pytest

from desk import BIN

WRITE = Path(__file__).resolve().parents[2] / "tools/write-manuals"


@pytest.fixture(scope="module")
def manuals(tmp_path_factory):
    folder = tmp_path_factory.mktemp("manuals")
    for kind in ("man", "completions"):
        subprocess.run([sys.executable, "-B", WRITE, BIN, folder, kind], check=True)
    return folder


def test_manual_pages_are_right_and_name_every_option(manuals):
    pages = sorted((manuals / "man1").iterdir())
    assert [page.name for page in pages] == ["film.1", "hx7.1", "orvik.1", "unit.1"]
    checked = subprocess.run(["mandoc", "-T", "lint", "-W", "error", *pages], capture_output=True, text=True, check=False)
    assert checked.returncode == 0, checked.stdout
    shown = subprocess.run(["mandoc", "-T", "ascii", manuals / "man1/unit.1"], capture_output=True, text=True, check=True)
    text = re.sub(".\b", "", shown.stdout)  # bold letters are printed over themselves
    helped = subprocess.run([BIN / "unit", "run", "--help"], capture_output=True, text=True, check=True).stdout
    options = [line.split()[0] for line in helped.splitlines() if line.startswith("  --")]
    assert len(options) > 20
    assert [each for each in options if each not in text] == []


# The words of the line, and what the shell must offer (the last word is the one to complete).
LINES = (
    ("unit r", {"run", "replay"}),
    ("unit db g", {"get"}),
    ("unit run --no-", {"--no-orvik", "--no-host"}),
    ("unit run --only j", {"j1939"}),
    ("hx7 sim", {"simulate"}),
    ("film --pa", {"--page"}),
)


@pytest.mark.parametrize("line, offered", LINES, ids=[line for line, _ in LINES])
def test_bash_completes(manuals, line, offered):
    words = line.split()
    script = (f'source {manuals}/bash/{words[0]}; COMP_WORDS=({line}); COMP_CWORD={len(words) - 1}; '
              f'_{words[0]}; printf "%s\\n" "${{COMPREPLY[@]}}"')
    done = subprocess.run(["bash", "-c", script], capture_output=True, text=True, check=True)
    assert offered == set(done.stdout.split()), done.stderr


@pytest.fixture(scope="module")
def zsh(manuals):
    """A zsh on a terminal of its own: a function that types text and reads until the words have come."""
    process, terminal = pty.fork()
    if process == 0:
        os.execvpe("zsh", ["zsh", "-f", "-i"], os.environ | {"TERM": "dumb", "PS1": ""})

    def type_text(text, words):
        os.write(terminal, text.encode())
        got, end = "", time.monotonic() + 20
        while not all(word in got for word in words):
            left = end - time.monotonic()
            assert left > 0 and select.select([terminal], [], [], left)[0], f"{text!r}: {words} are not in {got!r}"
            got += os.read(terminal, 4096).decode(errors="replace")

    type_text(f"fpath=({manuals}/zsh $fpath); autoload -Uz compinit; compinit -u -D; LISTMAX=0; echo rea''dy\n", {"ready"})
    yield type_text
    os.close(terminal)
    os.waitpid(process, 0)


@pytest.mark.parametrize("line, offered", LINES, ids=[line for line, _ in LINES])
def test_zsh_completes(zsh, line, offered):
    zsh(f"{line}\t\t", offered)
    zsh("\x15echo do''ne\n", {"done"})
