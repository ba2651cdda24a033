"""The native window on a real X server: picture, keys, brightness, sound and end."""

import array

from desk import BIN, CONFIG, wait_for
from x_screen import WHOLE, screen  # noqa: F401: a fixture

VEIL_RED = (0xFF, 0x7A, 0x7E)


def test_the_picture_fills_every_size_and_is_as_bright_as_the_backlight(make_desk, screen):
    desk = make_desk("--window", program="orvik_bound", **screen.environment)
    screen.find_window(desk.unit)
    desk.go_to("Main").send_message([7, 13, 3])
    screen.wait_picture(desk, WHOLE)
    screen.window.configure(x=0, y=0, width=1000, height=600)
    screen.wait_picture(desk, (100, 0, 900, 600))
    for duty in (95, 90):
        desk.press(8)  # darker, in the bindings of this program
        wait_for(lambda: desk.get("/api/board")["backlight"]["duty"] == duty, f"{duty} %")
    screen.wait_picture(desk, (100, 0, 900, 600), 0.15 + 0.85 * 0.9)


def test_keys_are_held_beside_the_panels_while_the_window_has_the_keyboard(make_desk, screen):
    desk = make_desk("--window", orvik=False, **screen.environment)
    screen.find_window(desk.unit)
    for key, down, held in [("1", True, [1]), ("KP_8", True, [1, 8]), ("8", True, [1, 8]), ("KP_8", False, [1, 8]),
                            ("9", True, [1, 8]), ("8", False, [1])]:
        screen.key(key, down)
        desk.wait_keys(*held)
    desk.key(1, True)
    desk.key(2, True)
    screen.focus(screen.root)
    desk.key(1, False)
    desk.wait_keys(2)
    screen.key("1", False)
    screen.focus(screen.window)
    screen.key("3")
    desk.wait_keys(2, 3)
    screen.close_window()
    assert desk.unit.wait_exit() == 0


def test_fullscreen_stays_until_control_c(make_desk, screen):
    desk = make_desk("--fullscreen", orvik=False, **screen.environment)
    screen.find_window(desk.unit)
    screen.wait_picture(desk, (20, 0, 980, 720))
    screen.key("Escape")
    screen.key("4")
    desk.wait_keys(4)
    screen.key("Control_L")
    screen.key("c")
    assert desk.unit.wait_exit() == 0


def test_the_beeper_is_heard(make_desk, screen, tmp_path):
    sound = tmp_path / "sound"
    desk = make_desk("--window", **screen.environment | {"SDL_AUDIODRIVER": "disk", "SDL_DISKAUDIOFILE": str(sound)})
    bus = desk.go_to("Main")
    tone = ([1] * 10 + [-1] * 10) * 51  # 2400 Hz of 48,000

    def hears(*waves):
        whole = sound.read_bytes()
        signs = [(sample > 0) - (sample < 0) for sample in array.array("f", whole[:len(whole) // 4 * 4])[-1000:]]
        return signs in waves

    for message, waves in [([4, 0], [[0] * 1000]), ([4, 255], [tone[n:n + 1000] for n in range(20)]), ([4, 0], [[0] * 1000])]:
        bus.send_message(message)
        wait_for(lambda: hears(*waves), f"the sound of {message}")


def test_a_window_of_its_own_process_never_keeps_an_old_picture(make_desk, screen):
    desk = make_desk(orvik=False, SDL_VIDEODRIVER="x11", DISPLAY=":none")
    alone = (BIN / "unit", "run", "--only", "window", "--config", CONFIG)
    status, _, errors = desk.run(*alone)
    assert status == 1 and "set DISPLAY" in errors
    desk.environment = screen.environment
    window = desk.start(*alone)
    screen.find_window(window)
    screen.wait_picture(desk, WHOLE)
    desk.unit.child.kill()
    desk.unit.wait_exit()
    wait_for(lambda: VEIL_RED in set(screen.picture().getdata()), "the veil")
    desk.start_unit()
    screen.wait_picture(desk, WHOLE)
    screen.key("Escape")
    assert window.wait_exit() == 0
    window = desk.start(*alone)
    screen.find_window(window)
    screen.server.kill()
    window.wait_line("the X server has ended", window.err)
    assert window.wait_exit() == 1
