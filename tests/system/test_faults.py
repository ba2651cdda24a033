"""From a control unit's DM1 on the bus to the words on the fault page."""

import json
from xml.etree import ElementTree

from desk import BIN, CONFIG, wait_for


def texts(desk):
    """The texts of the page that are not hidden."""
    def visible(element):
        if element.get("display") == "none":
            return []
        own = [element.text] if element.tag.endswith("}text") else []
        return own + [text for child in element for text in visible(child)]

    return visible(ElementTree.fromstring(desk.request("GET", "/screen.svg")[1]))


def shows(desk, *wanted):
    shown = texts(desk)
    return all(text in shown for text in wanted)


def act(desk, action):
    """An action of the simulated host, over the panel."""
    status, answer = desk.request("POST", "/api/host/do", json.dumps({"do": action}))
    assert status == 200, (action, answer)


def test_the_codes_of_all_control_units_stand_on_the_page_in_words(desk):
    desk.start(BIN / "hx7", "simulate", "--config", CONFIG, "--http", "127.0.0.1:0", "--speed", "4", "--quiet")
    wait_for(lambda: desk.screen.document()["page"] == "Main" and desk.value("OrvikHX7TimeOutLamp") == 1, "the operating page", 20)
    desk.post("orvik.MainToDM1")
    wait_for(lambda: desk.screen.document()["page"] == "Faults" and shows(desk, "NO CONTROL UNIT HEARD"), "the page without faults")
    act(desk, "control-unit engine on")
    wait_for(lambda: shows(desk, "NO ACTIVE FAULTS"), "a control unit without faults")
    act(desk, "scenario active-faults")  # it repeats
    wait_for(lambda: shows(desk, "5", "ENGINE", "SA 0", "SPN 110", "FMI 0", "×3", "Coolant temperature", "Far too high",
                           "Particulate filter pressure", "Too high", "×1", "TRANSMISSION", "SA 3",
                           "Transmission oil temperature", "×5", "Other signal", "SPN 201268", "Condition exists", "×?"),
             "the first four codes in words", 60)
    act(desk, "scenario none")  # the codes stay
    variables = desk.screen.document()["variables"]
    assert [variables[f"Fault{line}.Spn"] for line in range(1, 5)] == [110, 3251, 177, 201268], "the stop lamp comes first"
    assert [variables[f"Faults.{lamp}"] for lamp in ("Stop", "Warning", "Protect", "Malfunction")] == [1, 1, 1, 1]
    act(desk, "language russian")
    wait_for(lambda: shows(desk, "ДВИГАТЕЛЬ", "Температура охл. жидкости", "Опасно высоко"), "the codes in Russian")
    act(desk, "language english")
    act(desk, "trouble-code engine 110 0 off")
    wait_for(lambda: shows(desk, "4", "SPN 639") and not shows(desk, "SPN 110"), "a code less")
    for unit in ("engine", "transmission"):
        act(desk, f"control-unit {unit} off")
    wait_for(lambda: shows(desk, "NO CONTROL UNIT HEARD"), "the faults to be forgotten", 15)
    assert desk.screen.document()["page"] == "Faults"
