import pytest
from host import Host


@pytest.fixture
def host(desk):
    with desk.bus() as bus:
        yield Host(bus.send_message)


def test_the_load_is_shown(host, screen):
    host.lift(12300)
    screen.wait_for(load=12300, percent=85, no_lamp="overload", within=1)


def test_an_overload_is_seen_and_heard(host, screen):
    host.lift(15000)
    screen.wait_for("percent >= 100", lamp="overload", beeper="steady", within=4)


@pytest.mark.xfail(reason="shows what a red test leaves", strict=True)
def test_a_wrong_load(host, screen):
    host.lift(12300)
    screen.wait_for(load=12400, within=1)
