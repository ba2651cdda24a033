"""Phrases that no file of the repository has: what they point to is not there for its reader."""

import os
import re
from pathlib import Path

TEXTS = ("", ".cpp", ".h", ".py", ".lua", ".js", ".css", ".html", ".svg", ".xml", ".json", ".md", ".txt", ".cmake",
         ".scenario")
FOLDERS_ASIDE = {"build", ".git", "corpus", "golden", "out", "__pycache__", ".cache"}
# The list itself.
LIST = {"tools/house/prose.py", "tests/house/test_prose.py"}

# Between two words of a comment that runs over lines.
GAP = r"[\s/#*]+"
PHRASES = {
    "a document that only its writers have": re.compile(
        rf"\bthe{GAP}specs?\b|\bthe{GAP}specifications?\b|\bas{GAP}specified\b|\b[Pp]arts?{GAP}\d+\.\d|\bPart{GAP}\d"),
    "a path of one machine": re.compile(r"(?<![\w.}>-])/(?:home|root|work|mnt|media|Users|workspace)/\w"),
}


def texts(root):
    """Path → text, of each file that people read or write."""
    found = {}
    for folder, folders, names in os.walk(root):
        folders[:] = sorted(set(folders) - FOLDERS_ASIDE)
        for path in (Path(folder, name) for name in sorted(names) if name != ".git"):
            if path.suffix in TEXTS:
                found[path.relative_to(root).as_posix()] = path.read_text(errors="replace")
    return found


def faults(files):
    found = []
    for name in sorted(files.keys() - LIST):
        for what, phrase in PHRASES.items():
            for match in phrase.finditer(files[name]):
                line = files[name].count("\n", 0, match.start()) + 1
                words = " ".join(match.group().split())
                found.append(f'{name}:{line}: "{words}" is {what}: say what holds and why')
    return found
