"""The documents are true: their links lead somewhere, their commands run, and what they quote stands in the programs."""

import os
import re
import shlex
import subprocess
import sys
from pathlib import Path

import pytest

from desk import BIN

ROOT = Path(__file__).resolve().parents[2]
PAGES = [ROOT / name for name in ("README.md", "CHANGELOG.md", "CONTRIBUTING.md", "THIRD-PARTY.md", "python/README.md")]
PAGES += sorted((ROOT / "docs").glob("*.md")) + sorted((ROOT / "examples").glob("*/README.md"))
BLOCK = re.compile(r"^(<!-- not run: [^\n]+ -->\n)?```(\w*)\n(.*?)^```", re.M | re.S)
# A line that begins so is a command, whose block has to be sh (this test runs it) or console (a reason says why not).
COMMAND = re.compile(r"^(\$ )?(build/release/bin/|(unit|hx7|film) [a-z-]|curl |tools/|\./\w|ctest |cmake )", re.M)
MADE_BY_THE_SITE = {"commands", "pictures"}


def name(page):
    return str(page.relative_to(ROOT))


def blocks(page):
    for match in BLOCK.finditer(page.read_text()):
        yield match[1], match[2], match[3]


def anchors(page):
    text = re.sub(r"^```.*?^```", "", page.read_text(), flags=re.M | re.S)
    titles = re.findall(r"^#+ (.*)", text, re.M)
    return {re.sub(r"[^\w\- ]", "", title.lower()).strip().replace(" ", "-") for title in titles}


@pytest.mark.parametrize("page", PAGES, ids=name)
def test_every_link_leads_somewhere(page):
    text = re.sub(r"^```.*?^```|`[^`\n]*`", "", page.read_text(), flags=re.M | re.S)
    for link in re.findall(r"\]\(([^)\s]+)\)", text):
        file, _, anchor = link.partition("#")
        if "://" in link or Path(file).parts[:1] and Path(file).parts[0] in MADE_BY_THE_SITE:
            continue
        target = (page.parent / file) if file else page
        assert target.exists(), link
        assert not anchor or anchor in anchors(target), link


def test_the_site_is_built_without_a_warning():
    done = subprocess.run([ROOT / "tools/build-docs", "--bin", BIN, "--without-pictures"], capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    assert (ROOT / "build/site/operator.html").is_file()


@pytest.mark.parametrize("page", PAGES, ids=name)
def test_every_block_of_commands_is_run_or_says_why_not(page):
    for reason, language, text in blocks(page):
        if language != "sh":
            assert (language == "console") == bool(reason), f"{text}\nmark what cannot be run with <!-- not run: REASON --> and console"
            assert language == "console" or not COMMAND.search(text), f"{text}\nmark a block of commands with sh"


def options_of(words):
    """What --help of the command names; the words before the first option are the command."""
    command = [word for word in words[1:3] if re.fullmatch("[a-z]+", word)]
    for known in (command, command[:1], []):
        done = subprocess.run([BIN / words[0], *known, "--help"], capture_output=True, text=True, check=False)
        if done.returncode == 0:
            return known, done.stdout
    raise AssertionError(words)


@pytest.mark.parametrize("page", PAGES, ids=name)
def test_commands_that_are_not_run_exist(page):
    for _, language, text in blocks(page):
        for line in text.replace("\\\n", "").splitlines() if language == "console" else ():
            words = shlex.split(line.removeprefix("$ "), comments=True) if COMMAND.match(line) else []
            if words and Path(words[0]).name in ("unit", "hx7", "film"):
                words[0] = Path(words[0]).name
                known, about = options_of(words)
                assert known or words[1].startswith("-"), line
                missing = [word for word in words if word.startswith("--") and word.split("=")[0] not in about]
                assert not missing, f"{line}: {missing}"
            elif words and words[0].startswith(("./", "tools/")):
                assert (ROOT / words[0]).exists(), line


@pytest.fixture
def folder(tmp_path):
    """A folder with what the documents use: the programs, the log of a lift, the configuration and the tools."""
    for part in ("config", "tools"):
        (tmp_path / part).symlink_to(ROOT / part)
    (tmp_path / "build/release").mkdir(parents=True)
    (tmp_path / "build/release/bin").symlink_to(BIN)
    (tmp_path / "lift.log").write_bytes((BIN.parent / "demo/lift.log").read_bytes())
    return tmp_path


RUN = [(page, text) for page in PAGES for _, language, text in blocks(page) if language == "sh"]


@pytest.mark.parametrize("page, text", RUN, ids=[f"{name(page)}: {text.split(chr(10))[0]}" for page, text in RUN])
def test_commands_run(desk, folder, page, text):
    desk.go_to("Main").close()
    crane = desk.crane("normal-lift")
    crane.hold(load=12300)
    text = text.replace("http://127.0.0.1:8740", f"http://{desk.address('http')}")
    environment = os.environ | {"ORVIK_RUNTIME_DIR": str(desk.runtime), "PATH": f"{BIN}:{os.environ['PATH']}"}
    done = subprocess.run(["bash", "-e", "-o", "pipefail", "-c", text], cwd=folder, env=environment, capture_output=True, text=True,
                          timeout=120, check=False)
    assert done.returncode == 0, done.stdout[-2000:] + done.stderr[-2000:]


def test_the_table_of_lamps_is_whole():
    listed = subprocess.run([BIN / "hx7", "send", "--list"], capture_output=True, text=True, check=True).stdout
    lamps = re.search(r"^  Lamps: (.*)", listed, re.M)[1].split()
    table = (ROOT / "docs/operator.md").read_text().split("<!-- lamps: begin -->")[1].split("<!-- lamps: end -->")[0]
    assert sorted(re.findall(r"^\| `([\w-]+)` \|", table, re.M)) == sorted(lamps)


def test_the_texts_of_troubleshooting_stand_in_the_programs():
    sources = [*ROOT.glob("config/words/en.xml"), *(ROOT / "tools").iterdir()]
    sources += [file for part in ("unit", "host", "base", "bus", "platform") for file in (ROOT / part).rglob("*.cpp")]
    code = "\n".join(file.read_text(errors="replace") for file in sources if file.is_file())
    code = re.sub(r'"\s*"', "", code)  # C++ joins the parts of a text
    quoted = re.findall(r"^\| `([^`]+)` \|", (ROOT / "docs/troubleshooting.md").read_text(), re.M)
    assert len(quoted) > 20
    assert [text for text in quoted if text not in code] == []
