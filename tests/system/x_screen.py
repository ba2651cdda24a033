"""An X server of the test's own, and the unit's window on it."""

import io
import os
import select
import subprocess

import pytest
from PIL import Image, ImageEnhance
from Xlib import XK, X
from Xlib.display import Display
from Xlib.ext import xtest
from Xlib.protocol.event import ClientMessage

from desk import wait_for
from pictures import MEAN_TOLERANCE, TILE_TOLERANCE, compare, png_of

WHOLE = (0, 0, 640, 480)


class Screen:
    """An X server without a window manager: its window, keyboard and picture."""

    def __init__(self, name, server):
        self.server = server
        self.environment = {"DISPLAY": name, "SDL_AUDIODRIVER": "dummy", "SDL_RENDER_DRIVER": "software",
                            "SDL_FRAMEBUFFER_ACCELERATION": "0"}  # without a graphics driver
        self.display = Display(name)
        self.root = self.display.screen().root

    def find_window(self, unit):
        unit.wait_line("window is up")
        windows = self.root.query_tree().children
        self.window = next(window for window in windows if window.get_wm_name() == "Orvik display unit")
        self.focus(self.window)

    def focus(self, window):
        self.display.set_input_focus(window, X.RevertToParent, X.CurrentTime)
        self.display.sync()

    def key(self, name, down=True):
        code = self.display.keysym_to_keycode(XK.string_to_keysym(name))
        xtest.fake_input(self.display, X.KeyPress if down else X.KeyRelease, code)
        self.display.sync()

    def close_window(self):
        protocols, delete = (self.display.intern_atom(name) for name in ("WM_PROTOCOLS", "WM_DELETE_WINDOW"))
        self.window.send_event(ClientMessage(window=self.window, client_type=protocols, data=(32, [delete, 0, 0, 0, 0])))
        self.display.sync()

    def picture(self):
        size = self.window.get_geometry()
        data = self.window.get_image(0, 0, size.width, size.height, X.ZPixmap, 0xFFFFFFFF).data
        return Image.frombytes("RGB", (size.width, size.height), data, "raw", "BGRX")

    def wait_picture(self, desk, place, share=1.0):
        """Waits until this part of the window shows the unit's screen at this brightness, and the rest is black."""
        def alike():
            status, png = desk.request("GET", "/screen.png")
            if status != 200:  # the screen service is slow to start
                return False
            png = Image.open(io.BytesIO(png)).convert("RGB")
            shown = self.picture()
            part = shown.crop(place).resize(png.size, Image.BOX)
            mean, tile, _ = compare(png_of(ImageEnhance.Brightness(png).enhance(share)), png_of(part))
            shown.paste((0, 0, 0), place)
            # Scaled glyphs have other edges.
            return shown.getbbox() is None and mean <= 2 * MEAN_TOLERANCE and tile <= TILE_TOLERANCE

        wait_for(alike, f"the screen at {place}", 20)


@pytest.fixture
def screen():
    reading, writing = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", "1000x720x24", "-nolisten", "tcp"],
                              pass_fds=[writing], stderr=subprocess.DEVNULL)
    os.close(writing)
    assert select.select([reading], [], [], 30)[0], "timed out waiting for the X server"
    with os.fdopen(reading) as number:
        yield Screen(":" + number.readline().strip(), server)
    server.terminate()
    server.wait(30)
