"""The names that the code, the generic configuration and the database's parameters share, and the version."""

import re
import xml.etree.ElementTree as tree

import pytest


def test_each_variable_of_the_code_has_its_place_in_the_configuration(root):
    named = re.findall(r'^    \{"([\w.]+)", &V::', (root / "src/display/handles.cpp").read_text(), re.M)
    variables = {each.get("name"): each.get("var") for each in tree.parse(root / "config/generic.xml").iter("Variable")}
    parameters = {each.get("name") for each in tree.parse(root / "config/parameters.xml").iter("Parameter")}
    assert len(named) > 60
    assert [name for name in named if name not in variables] == []
    assert [name for name, parameter in variables.items() if parameter not in parameters] == []


@pytest.mark.parametrize("file, pattern", (
    ("config/generic.xml", r'<orvik-generic [^>]*\bversion="([^"]+)"'),
    ("python/pyproject.toml", r'^version = "([^"]+)"'),
    ("python/debian/changelog", r"\A\S+ \(([^)]+)\)"),
    ("packaging/debian/changelog", r"\A\S+ \(([^)]+)\)"),
    ("CHANGELOG.md", r"^## (\S+)"),
))
def test_every_file_names_the_same_version(root, file, pattern):
    assert re.search(pattern, (root / file).read_text(), re.M)[1] == (root / "VERSION").read_text().strip()
