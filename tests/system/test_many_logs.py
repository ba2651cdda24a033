"""The example examples/many-logs: Snakemake makes each log a task."""

import re
import shutil
import subprocess

from desk import BIN, PATIENCE, REPOSITORY
from test_logs import LINES, logs, other  # noqa: F401

EXAMPLE = REPOSITORY / "examples/many-logs"


def test_snakemake_makes_each_log_a_task(logs, other, tmp_path):
    folder = shutil.copytree(EXAMPLE, tmp_path / "example")

    def snakemake(target, *words):
        done = subprocess.run(["snakemake", target, "--cores", "2", "--config", f"hx7={BIN / 'hx7'}", f"logs={logs}", *words], cwd=folder,
                              capture_output=True, text=True, timeout=240 * PATIENCE)
        assert done.returncode == 0, done.stderr
        return done.stderr

    assert len(re.findall(r"^rule film:", snakemake("baseline", "results=baseline"), re.M)) == 3
    assert len(re.findall(r"^rule film:", snakemake("report", f"options=--config {other}"), re.M)) == 3
    assert (folder / "report.txt").read_text().count("is shown differently") == 2
    (logs / "calm.log").write_text("".join(LINES[:301]))
    assert len(re.findall(r"^rule film:", snakemake("report", f"options=--config {other}"), re.M)) == 1
