import pathlib
import sys

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "python"))

pytest_plugins = ["orvik.pytest_plugin", "pytester"]
