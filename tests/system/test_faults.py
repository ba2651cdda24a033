"""From a control unit's DM1 on the bus to the words on the fault page."""

import time
from xml.etree import ElementTree

from desk import wait_for

ENGINE, TRANSMISSION = 0x00, 0x03
NO_CODE = [0x00, 0xFF, 0, 0, 0, 0, 0xFF, 0xFF]


def dm1(bus, source, data):
    bus.send(0x18FECA00 | source, data)


def broadcast(bus, source, data):
    """The message as an announcement and packets of seven bytes (SAE J1939-21)."""
    packets = [data[i:i + 7] for i in range(0, len(data), 7)]
    bus.send(0x1CECFF00 | source, bytes([32, len(data), 0, len(packets), 0xFF, 0xCA, 0xFE, 0]))
    for number, packet in enumerate(packets, 1):
        bus.send(0x1CEBFF00 | source, bytes([number]) + bytes(packet).ljust(7, b"\xff"))


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


def test_the_codes_of_all_control_units_stand_on_the_page_in_words(desk):
    bus = desk.go_to("Main")
    wait_for(lambda: desk.value("OrvikHX7TimeOutLamp") == 1, "the link")
    desk.post("orvik.MainToDM1")
    wait_for(lambda: desk.screen()["page"] == "Faults" and shows(desk, "NO CONTROL UNIT HEARD"), "the page without faults")
    dm1(bus, ENGINE, NO_CODE)
    wait_for(lambda: shows(desk, "NO ACTIVE FAULTS"), "a control unit without faults")
    broadcast(bus, TRANSMISSION, [0x04, 0xFF, 177, 0, 0, 5, 100, 0, 1, 126, 0x34, 0x12, 0x62, 0x7F])
    dm1(bus, ENGINE, [0x10, 0xFF, 110, 0, 0, 3, 0xFF, 0xFF])
    wait_for(lambda: shows(desk, "4", "ENGINE", "SA 0", "SPN 110", "FMI 0", "×3", "Coolant temperature", "Far too high",
                           "TRANSMISSION", "SA 3", "Transmission oil temperature", "Engine oil pressure", "Far too low",
                           "×126", "Other signal", "SPN 201268", "Erratic or incorrect", "×?"), "four codes in words")
    variables = desk.screen()["variables"]
    assert [variables[f"Fault{line}.Spn"] for line in range(1, 5)] == [110, 177, 100, 0x31234], "the stop lamp comes first"
    assert [variables[f"Faults.{lamp}"] for lamp in ("Stop", "Warning", "Protect", "Malfunction")] == [1, 1, 0, 0]
    bus.send_message([7, 13, 4])
    wait_for(lambda: shows(desk, "ДВИГАТЕЛЬ", "Температура охл. жидкости", "Опасно высоко"), "the codes in Russian")
    bus.send_message([7, 13, 0])

    def silent():
        bus.send_message([8, 1])  # the load computer's silence would end the page
        time.sleep(0.2)  # between two messages
        return shows(desk, "NO CONTROL UNIT HEARD")

    wait_for(silent, "the faults to be forgotten", 15)
    assert desk.screen()["page"] == "Faults"
