"""Page changes that the host asks for or that its silence brings, from every page."""

import pytest

from desk import wait_for

PAGES = ["Splash", "Slate", "Main", "Wad", "Config", "Dials"]

# Request: from, to, the page that it starts from and the one that it leads to.
REQUESTS = {
    0: ("WAD", "OPERATING", "Wad", "Main"),
    1: ("CONFIG", "WAD", "Config", "Wad"),
    3: ("SLATE", "MAIN", "Slate", "Main"),
    4: ("WAD", "CONFIG", "Wad", "Config"),
    5: ("SLATE", "CONFIG", "Slate", "Config"),
    6: ("OPERATING", "WAD", "Main", "Wad"),
    7: ("SLATE", "WAD", "Slate", "Wad"),
}
# Page: the event that opens it, the key that leads back, and where to.
OVER = {
    "Pol": ("orvik.MainToPol", 6, "Main"),
    "Faults": ("orvik.MainToDM1", 6, "Main"),
    "Choice4Mid": ("orvik.MainToChoice4Mid", 6, "Main"),
    "ConfigPol": ("orvik.ConfigToPol", 7, "Config"),
}
NOT_PROPER = "ERROR!  Not on proper page!"


def expected_lines(request, page):
    """What the request says on the page: lines of standard output, lines of standard error."""
    if request not in REQUESTS:
        return [], [f"ERROR! Received undefined transition request {request} while on Page.{page} page"]
    come_from, to, required, _ = REQUESTS[request]
    out = [f"Received request to transition from {come_from} page to {to} page while on Page.{page} page"]
    if page == required or request > 1:
        return out, []
    if request == 0 and page == "Main":
        return out + ["WARNING!  INEFFICIENCY!  I am already on the Page.Main page"], []
    return out, [NOT_PROPER]


def ask(desk, bus, request, page):
    """Sends the request on the page. False when the page left by itself before the request was read."""
    seen = len(desk.orvik.out), len(desk.orvik.err)
    bus.send_message([7, 15, request])
    out, err = expected_lines(request, page)
    answer = wait_for(lambda: [line for line in desk.orvik.out[seen[0]:] + desk.orvik.err[seen[1]:] if "while on" in line],
                      f"an answer to request {request}")
    if page == "Splash" and not answer[0].endswith("Page.Splash page"):
        return False
    wait_for(lambda: (desk.orvik.out[seen[0]:], desk.orvik.err[seen[1]:]) == (out, err), f"{out} and {err}")
    return True


@pytest.mark.parametrize("page", PAGES)
def test_every_request_of_the_host(desk, page):
    bus = desk.bus()
    for request in [0, 1, 2, 3, 4, 5, 6, 7, 8]:
        def asked():
            desk.move_to(page, bus)
            return ask(desk, bus, request, page)

        # The watchdog leaves the splash page within a second while frames of the host come.
        assert any(asked() for _ in range(20)), f"{page} was never shown until request {request} was read"
        if request in REQUESTS and REQUESTS[request][2] == page:
            wait_for(lambda: desk.page_of_orvik(bus) == desk.screen()["page"] == REQUESTS[request][3], REQUESTS[request][3])
        elif page != "Splash":
            assert desk.page_of_orvik(bus) == desk.screen()["page"] == page


def test_select_mode_brings_the_select_keys(desk):
    bus = desk.go_to("Main")
    for on, page in [(1, "Wad"), (1, "Wad"), (0, "Main"), (0, "Main")]:
        bus.send_message([7, 14, on])
        wait_for(lambda: desk.screen()["page"] == page and desk.page_of_orvik(bus) == page, page)


def test_silence_leads_every_page_to_one_that_shows_it(make_desk):
    desks = {page: make_desk() for page in ("Splash", "Wad", "Config", "Dials")}
    for page, desk in desks.items():
        if page != "Splash":
            bus = desk.bus()
            desk.move_to(page, bus)
            bus.close()
    for page, desk in desks.items():
        target = "Slate" if page == "Splash" else "Main"
        wait_for(lambda: desk.screen()["page"] == target, f"{target} after the time-out on {page}", 20)
        assert desk.value("OrvikHX7TimeOutLamp") == 2


def open_over(desk, page, bus):
    """Shows one of the pages over others. None can be opened while the link counts as lost."""
    event, _, below = OVER[page]
    desk.move_to(below, bus)
    wait_for(lambda: desk.value("OrvikHX7TimeOutLamp") == 1, "the link")
    desk.post(event)
    wait_for(lambda: desk.screen()["page"] == page, page)


def test_a_key_leads_back_from_the_pages_over_others(desk):
    bus = desk.bus()
    for page, (_, key, below) in OVER.items():
        open_over(desk, page, bus)
        desk.press(key)
        wait_for(lambda: desk.screen()["page"] == desk.page_of_orvik(bus) == below, f"{below} after key {key} on {page}")


@pytest.mark.parametrize("page", ["Faults", "ConfigPol"])
def test_silence_closes_a_page_over_another(desk, page):
    open_over(desk, page, desk.bus())
    wait_for(lambda: desk.screen()["page"] == "Main", f"Main after the time-out on {page}", 20)
    assert desk.value("OrvikHX7TimeOutLamp") == 2


def test_actions_of_the_screen_service(desk):
    bus = desk.go_to("Main")
    ignored = ["IgnitionOff", "Page.Main.Enable.InDepth", "Page.Main.Disable.InDepth", "Page.Main.Enable.Inclinometer",
               "Page.Main.Disable.Inclinometer", "Page.Main.Enable.Hydraulics", "Page.Main.Disable.Hydraulics",
               "Orvik.ClearLayer", "Page.Dials.Refresh", "KeyPressChanged"]
    seen = len(desk.orvik.out), len(desk.orvik.err)
    for action in ignored:
        desk.post(action)
    for action, stream, line in [("IgnitionOn", desk.orvik.out, "InitCANFilters: hx7NumFilters=56, sizeof=56"),
                                 ("Page.Engine", desk.orvik.err, "Orvik: ERROR!  received unknown action 19")]:
        before = stream.count(line)
        desk.post(action)
        wait_for(lambda: stream.count(line) == before + 1, line)
    assert (len(desk.orvik.out), len(desk.orvik.err)) == (seen[0] + 1, seen[1] + 1), "the others are taken without a word"
    assert bus.ask([7, 7]) == ["00 01 00 ff ff ff ff ff"], "the filters are there again"
    desk.post("ExitApplication")
    desk.orvik.wait_line("Orvik: Receive Action thread EXIT")
