"""Pages over others, which the application does not know: the ways that lead back from them."""

from desk import wait_for

# Page: the event that opens it, the key that leads back, and where to.
OVER = {
    "Pol": ("orvik.MainToPol", 6, "Main"),
    "Faults": ("orvik.MainToDM1", 6, "Main"),
    "Choice4Mid": ("orvik.MainToChoice4Mid", 6, "Main"),
    "ConfigPol": ("orvik.ConfigToPol", 7, "Config"),
}


def open_over(desk, page, bus):
    """Shows one of the pages over others. None can be opened while the link counts as lost."""
    event, _, below = OVER[page]
    desk.move_to(below, bus)
    wait_for(lambda: desk.value("OrvikHX7TimeOutLamp") == 1, "the link")
    desk.post(event)
    wait_for(lambda: desk.screen.document()["page"] == page, page)


def test_a_key_leads_back_from_the_pages_over_others(desk):
    bus = desk.bus()
    for page, (_, key, below) in OVER.items():
        open_over(desk, page, bus)
        desk.press(key)
        wait_for(lambda: desk.screen.document()["page"] == desk.page_of_orvik(bus) == below, f"{below} after key {key} on {page}")


def test_silence_closes_a_page_over_another(desk):
    open_over(desk, "ConfigPol", desk.bus())
    wait_for(lambda: desk.screen.document()["page"] == "Main", "Main after the time-out", 30)
    assert desk.value("OrvikHX7TimeOutLamp") == 2
