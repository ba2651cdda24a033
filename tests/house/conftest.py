import os
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools" / "house"))


@pytest.fixture
def root():
    return ROOT


@pytest.fixture
def build():
    """The build folder: its arrows.txt and compile_commands.json."""
    return Path(os.environ["ORVIK_BUILD"])
