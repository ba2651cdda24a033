"""The names that the code, the generic configuration and the database's parameters share."""

import re
import xml.etree.ElementTree as tree


def test_each_variable_of_the_code_has_its_place_in_the_configuration(root):
    named = re.findall(r'^    \{"([\w.]+)", &V::', (root / "src/display/handles.cpp").read_text(), re.M)
    variables = {each.get("name"): each.get("var") for each in tree.parse(root / "config/generic.xml").iter("Variable")}
    parameters = {each.get("name") for each in tree.parse(root / "config/parameters.xml").iter("Parameter")}
    assert len(named) > 60
    assert [name for name in named if name not in variables] == []
    assert [name for name, parameter in variables.items() if parameter not in parameters] == []
