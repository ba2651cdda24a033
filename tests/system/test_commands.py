"""The effect of every command of the host on the database, the lines of the application and the screen."""

from desk import cmd2, cmd5, wait_for

# Message, (variable, value) or None, (stream, line) or None.
COMMANDS = [
    ([0], None, ("err", "Orvik: ***** ERROR!  Unexpected Initialize LCD command ( Cmd0 ) *****")),
    ([1, 65], None, None),
    ([4, 20], ("OrvikBeepImage", 1), None),
    ([4, 255], ("OrvikBeepImage", 2), None),
    ([4, 0], ("OrvikBeepImage", 0), None),
    ([7, 6, 9], None, ("err", "***** ERROR!  UNUSED SET POL cmd ( 7, 6 ) received: 9")),
    ([7, 8, 0], None, ("out", "Set display mode: Thousands")),
    ([7, 8, 1], None, ("out", "Set display mode: Units ( with trailing zeroes )")),
    ([7, 10, 7], ("OrvikBeepImage", 1), None),
    ([7, 10, 0], ("OrvikBeepImage", 0), None),
    ([7, 11, 2], None, ("err", "Orvik: ERROR!  Illegal units id 2")),
    ([7, 13, 5], ("OrvikLanguage", 5), None),
    ([7, 13, 6], ("OrvikLanguage", 5), ("err", "Orvik: ERROR!  Illegal language id 6")),
    ([7, 16, 3], ("OrvikErectedIcon", 3), None),
    ([7, 17, 4], ("OrvikStowedIcon", 4), None),
    ([7, 19, 2], ("OrvikSwingMode", 2), None),
    ([7, 20], None, ("err", "***** ERROR!  Unknown extended command (20")),
    ([7, 21], None, ("err", "***** ERROR!  Unknown extended command (21")),
    ([8, 3], None, ("out", "SetCommandProtocolVersion 3")),
    ([9, 4], None, ("out", "SetDynamicEncryptionMethod 4")),
    ([3, 0, 0, 0, 0, 0], None, ("out", "WARNING, Flash message NULL length.")),
    ([3, 0, 2, 5, 0, 0x41], None, ("out", "Orvik: ERROR! Flash message underrun, len=2, index=5, first=0x41")),
    ([3, 3, 0x21, 5, 0, 0x41], None, ("err", "Orvik: ERROR! Flash message overrun, len=801, index=5, first=0x41")),
    ([7, 15, 2], None, ("err", "ERROR! Received undefined transition request 2 while on Page.Main page")),
    ([7, 15, 0], None, ("out", "WARNING!  INEFFICIENCY!  I am already on the Page.Main page")),
    ([7, 15, 1], None, ("err", "ERROR!  Not on proper page!")),
]


def test_each_command_changes_what_it_names(desk):
    bus = desk.go_to("Main")
    for message, variable, line in COMMANDS:
        if line:
            stream = getattr(desk.orvik, line[0])
            before = sum(line[1] in text for text in stream)
        bus.send_message(message)
        if variable:
            wait_for(lambda: desk.value(variable[0]) == variable[1], f"{message}: {variable}")
        if line:
            desk.orvik.wait_line(line[1], stream, count=before + 1)


def test_operating_values_reach_the_database(desk):
    bus = desk.go_to("Main")
    bus.send_message(cmd2(capacity=12399, load=12350, piston=1500.5, rod=250.25, swing=-90))
    expected = {"OrvikCapacity": 12300, "OrvikLoad": 12400, "OrvikPistonPressure": 1500.5, "OrvikRodPressure": 250.25,
                "OrvikSwing": -90}
    wait_for(lambda: {name: desk.value(name) for name in expected} == expected, f"{expected}")


def test_units_and_swing_modes_show_in_every_language(desk):
    bus = desk.go_to("Main")
    for language, units, texts in [(0, 0, ["lbs", "feet"]), (0, 1, ["kgs", "meters"]), (1, 0, ["libras", "pies"]),
                                   (1, 1, ["kilos", "metros"]), (5, 0, ["livres", "pieds"])]:
        bus.send_message([7, 13, language])
        bus.send_message([7, 11, units])
        for widgets in (["UnitsWeight", "UnitsDistance"], ["WadUnitsWeight", "WadUnitsDistance"]):
            wait_for(lambda: desk.widgets(*widgets) == texts, f"{texts}")
    for mode, text in enumerate(["    0", "FRONT", "REAR", "SIDE", "360", "-N/A-", "F-ARC", "ERROR"]):
        bus.send_message([7, 19, mode])
        wait_for(lambda: desk.widgets("Swing", "WadSwing") == [text, text], text)


def test_labels_come_and_go_with_the_text_command(desk):
    bus = desk.go_to("Main")
    bus.send_message(cmd5((29, "MAIN BOOM"), (30, "JIB")))
    wait_for(lambda: desk.widgets("MainErectedStd", "MainStowedStd") == ["MAIN BOOM", "JIB"], "the labels")
    bus.send_message(cmd5((17, "HELLO")))
    wait_for(lambda: desk.widgets("MainErectedStd", "MainStowedStd") == [" ", " "], "no labels")
