"""A Debian 12 of its own with systemd, in a container of systemd-nspawn: only the packages under test and what they need.

Making its files takes minutes, most of them in apt; they are kept as an archive for the next run.
"""

import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

TOOLS = ("mmdebstrap", "systemd-nspawn", "nsenter", "systemd-analyze")
SYSTEM = ["systemd", "systemd-sysv", "dbus", "udev", "procps"]
# What changes by itself on a machine that runs, and dpkg's own notes.
UNSTEADY = re.compile(r"^(proc|sys|dev|run|tmp|packages)(/|$)|^var/(log/(journal|dpkg.log|apt|alternatives.log)|lib/dpkg|lib/systemd|"
                      r"cache|tmp)(/|$)|^etc/(passwd|group|g?shadow|sub[ug]id)-$|^etc/\.pwd\.lock$|\.(cache|pyc)$|__pycache__")

FETCH = "import sys, urllib.request; print(urllib.request.urlopen('http://127.0.0.1:8740' + sys.argv[1], timeout=5).read())"


def obstacle():
    """Why no such machine can be made here; empty where it can."""
    if os.geteuid() != 0:
        return "it needs root, for a root of its own: sudo ./test install"
    missing = [tool for tool in TOOLS if not shutil.which(tool)]
    return f"{', '.join(missing)}: not installed; tools/install-packages install" if missing else ""


def run(*words, status=0, seconds=600):
    """Runs a program to its end; returns what it printed."""
    done = subprocess.run([str(word) for word in words], text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=seconds, check=False, stdin=subprocess.DEVNULL)
    assert status is None or done.returncode == status, f"{words}\n{done.stdout}"
    return done.stdout


def needed_by(packages):
    """The names of the packages of Debian that these need."""
    fields = ",".join(run("dpkg-deb", "-f", package, "Depends", "Pre-Depends") for package in packages)
    names = {re.split(r"[ :(|]", name.strip(), maxsplit=1)[0] for name in re.sub(r"(Pre-)?Depends:|\n", ",", fields).split(",")}
    return sorted(name for name in names if name and "orvik" not in name)


def archive_of(packages, folder):
    """The archive of a Debian 12 with what the packages need, made where there is none."""
    wanted = ",".join(sorted({*SYSTEM, *needed_by(packages)}))
    archive = folder / f"debian-{hashlib.sha256(wanted.encode()).hexdigest()[:12]}.tar"
    if not archive.exists():
        folder.mkdir(parents=True, exist_ok=True)
        print(f"making {archive}: some minutes", flush=True)
        run("mmdebstrap", "--variant=minbase", f"--include={wanted}", "bookworm", f"{archive}.part.tar", seconds=3600)
        os.rename(f"{archive}.part.tar", archive)
    return archive


class Machine:
    """Runs while the object is in its `with`. It has a network of its own."""

    def __init__(self, archive):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="orvik-machine-"))
        run("tar", "-C", self.root, "-xf", archive)

    def __enter__(self):
        self.container = subprocess.Popen(
            ["systemd-nspawn", "-q", "--register=no", "--keep-unit", "--private-network", "--console=pipe", "-D", str(self.root),
             "--boot"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        children = pathlib.Path(f"/proc/{self.container.pid}/task/{self.container.pid}/children")
        self.wait(lambda: children.read_text().strip(), "the first process of the machine")
        self.leader = children.read_text().split()[0]
        self.wait(lambda: "running" in self.call("systemctl", "is-system-running", status=None), "the machine's start")
        return self

    def __exit__(self, problem, *_):
        if problem:
            print(self.call("journalctl", "-b", "-q", "--no-pager", "-n", "80", status=None))
        self.call("systemctl", "poweroff", status=None)
        self.container.wait(60)
        shutil.rmtree(self.root)

    def call(self, *words, **settings):
        """Runs a program in the machine; returns what it printed."""
        return run("nsenter", "-t", self.leader, "-a", *words, **settings)

    def fetch(self, path):
        """What a program on the machine's loopback gets from the panel."""
        return run("nsenter", "-t", self.leader, "-n", "/usr/bin/python3", "-c", FETCH, path, status=None)

    def property(self, service, name):
        return self.call("systemctl", "show", "-P", name, service).strip()

    def files(self):
        """The files of the machine that nothing but a package changes."""
        paths = (path.relative_to(self.root) for path in self.root.rglob("*"))
        return {str(path) for path in paths if not UNSTEADY.search(str(path))}

    @staticmethod
    def wait(condition, what, seconds=90):
        end = time.monotonic() + seconds
        while not (result := condition()):
            assert time.monotonic() < end, f"timed out waiting for {what}"
            time.sleep(0.2)
        return result
