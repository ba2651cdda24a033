"""The package as others install it: with pip into an environment of its own, and as a Debian package."""

import os
import re
import shutil
import subprocess
import tarfile
import time

import pytest

from conftest import REPOSITORY

PYTHON = "/usr/bin/python3"
EXAMPLE = REPOSITORY / "examples/host-project"
FAILED = "orvik-failures/test_host.py-test_a_wrong_load"


def run(*words, status=0, **settings):
    """Runs a program without a network's proxies; returns all that it printed."""
    environment = {name: value for name, value in os.environ.items() if name not in ("PYTHONPATH", "PIP_INDEX_URL")}
    done = subprocess.run(words, env=environment | settings.pop("environment", {}), text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=600, check=False, **settings)
    assert done.returncode == status, done.stdout
    return done.stdout


@pytest.fixture
def project(tmp_path):
    """A copy of the example, which leaves the repository as it is."""
    return shutil.copytree(EXAMPLE, tmp_path / "project")


def ci_script():
    """The lines that the example's CI file runs after the build."""
    lines = (EXAMPLE / ".gitlab-ci.yml").read_text().split("  script:\n")[1].split("  artifacts:")[0]
    return "\n".join(line.strip().removeprefix("- ") for line in lines.splitlines())


def test_the_example_project_is_green_when_the_load_is_right_and_red_with_a_picture_when_it_is_wrong(project, tmp_path):
    shutil.copytree(REPOSITORY / "python", tmp_path / "orvik/python")
    start = time.monotonic()
    out = run("/bin/bash", "-ec", ci_script(), cwd=project, environment={"ORVIK": str(tmp_path / "orvik")})
    print(f"from `venv` to the end of pytest: {time.monotonic() - start:.1f} s")
    assert "2 passed, 1 xfailed" in out and (project / "report.xml").exists()
    out = run("venv/bin/python", "-m", "pytest", "--runxfail", status=1, cwd=project)
    assert "1 failed, 2 passed" in out and "load == 12400 was not shown within" in out and "load is '12,300'" in out
    for name in ("screen.png", "report.tar.gz", "processes.txt"):
        assert str(project / FAILED / name) in out
    assert (project / FAILED / "screen.png").read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
    with tarfile.open(project / FAILED / "report.tar.gz") as bundle:
        assert "bus.log" in [name.rsplit("/", 1)[-1] for name in bundle.getnames()]
    assert not list(project.glob("orvik-failures/*load_is_shown*"))


def test_the_debian_package_runs_the_first_test_of_the_documentation(tmp_path):
    run(REPOSITORY / "tools/build-python-package", tmp_path)
    package, = tmp_path.glob("python3-orvik_*_all.deb")
    run("dpkg", "-x", package, tmp_path / "root")
    first = re.search(r"```python\n(.*?)```", (REPOSITORY / "docs/python.md").read_text(), re.DOTALL)[1]
    (tmp_path / "test_first.py").write_text(first)
    modules = tmp_path / "root/usr/lib/python3/dist-packages"
    out = run(PYTHON, "-B", "-m", "pytest", "test_first.py", cwd=tmp_path, environment={"PYTHONPATH": str(modules)})
    assert "1 passed" in out


def test_the_types_agree(tmp_path):
    run(PYTHON, "-m", "mypy", "--cache-dir", tmp_path, cwd=REPOSITORY / "python")
    run(PYTHON, "-m", "mypy", "--strict", "--cache-dir", tmp_path, EXAMPLE / "host.py")
