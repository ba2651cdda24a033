"""The picture as a browser has it: the front panel's event stream, applied to the page's document."""

import html
import http.client
import json
import re
import threading
import time
import xml.etree.ElementTree as ElementTree

from host_model import DASHES, LAMPS, narrow

SIGN = 2.0  # without a change for this long, even an empty one, the panel covers the picture
SILENT = 3.0  # a stream sends a beat each second; a panel that hears none for this long veils the picture
CURRENT = 1.0
VALUE_WIDGETS = {"capacity": "Capacity", "load": "Load", "radius": "Radius", "angle": "Angle", "extension": "Extension",
                 "swing": "Swing", "weight unit": "UnitsWeight", "distance unit": "UnitsDistance"}
FORMATTED = {"percent": "OrvikPercentSafeWorkingLoad", "parts": "OrvikPartsOfLine"}
# What the display itself lays over the host's text while it is not heard.
SYSTEM_TEXT = re.compile("LOST COMMUNICATIONS|COMUNICACI|COMUNICAÇ|与主机的通信|ПОТЕРЯНА|COMMUNICATION PERDUE|System Init")


def as_number(text):
    text = narrow(text).replace(",", "").replace("%", "").strip()
    if text and set(text) == {"-"}:
        return DASHES
    try:
        return float(text)
    except ValueError:
        return text


class LiveScreen:
    """Follows the stream in a thread; `shown` has for each quantity its values and since when each stood there."""

    MARKED = "(marked unknown)"
    ABSENT = "(not on the page)"

    def __init__(self, address):
        self.host, self.port = address.rsplit(":", 1)
        self.shown = {}
        self.elements, self.texts, self.variables, self.page = {}, {}, {}, None
        self.widgets, self.formatted = {}, {}  # widget or variable: the element that shows it
        self.marked = None
        self.pages = []  # when a picture was taken anew, because another page is shown or the stream begins
        self.revision = -1
        self.services_up = True
        self.connected = False
        self.heard = self.signed = time.monotonic()
        self.events = 0
        self.stopping = threading.Event()
        self.lock = threading.Lock()
        self.threads = [threading.Thread(target=loop, daemon=True) for loop in (self._follow, self._watch)]
        for thread in self.threads:
            thread.start()

    def close(self):
        self.stopping.set()

    def _watch(self):
        """Notices a stream that has become silent, as a browser does."""
        while not self.stopping.wait(0.05):
            silent_at = min(self.heard + SILENT, self.signed + SIGN)
            if time.monotonic() > silent_at:
                with self.lock:
                    self._note(silent_at)

    def _follow(self):
        while not self.stopping.is_set():
            try:
                self._read()
            except (OSError, ValueError, http.client.HTTPException, ElementTree.ParseError):
                pass
            with self.lock:
                self.connected = False
                self._note(time.monotonic())
            self.stopping.wait(0.1)

    def _read(self):
        connection = http.client.HTTPConnection(self.host, int(self.port), timeout=SILENT)
        connection.request("GET", "/api/stream")
        response = connection.getresponse()
        name = None
        while not self.stopping.is_set():
            line = response.readline()
            if not line:
                return
            now = time.monotonic()
            if line.startswith(b"event: "):
                name = line[7:].strip().decode()
            elif line.startswith(b"data: "):
                with self.lock:
                    self.heard = now
                    self.events += 1
                    if name in ("screen", "change", "health"):
                        self._take(name, json.loads(line[6:]), now)
                    if name in ("screen", "change") or self.is_marked(now) != self.marked:
                        self._note(now)

    def _take(self, name, data, now):
        if name == "screen":
            self.signed = now
            self._take_picture(data, now)
        elif name == "change":
            if now - self.signed >= SIGN:
                raise ValueError("the picture is covered; it has to be asked for again")
            self.signed = now
            if data["revision"] <= self.revision:
                return  # the picture that was asked for is newer
            if data["previous"] != self.revision:
                raise ValueError("a change is missing; the picture has to be asked for again")
            self.revision = data["revision"]
            for element in data.get("elements", ()):
                self._change(element)
            self.variables.update(data.get("variables", {}))
        elif name == "health":
            names = {service["name"]: service["up"] for service in data.get("services", ())}
            self.services_up = names.get("screen", True)

    def _take_picture(self, state, now):
        self.revision = state["revision"]
        self.page, self.variables = state["page"], dict(state["variables"])
        self.pages.append(now)
        self.elements, self.texts = {}, {}
        for element in ElementTree.fromstring(state["svg"]).iter():
            if "id" in element.attrib:
                self.elements[element.get("id")] = dict(element.attrib)
                self.texts[element.get("id")] = "".join(element.itertext())
        self.widgets, self.formatted = {}, {}
        for each, attributes in self.elements.items():
            self.widgets.setdefault(attributes.get("data-widget", each), each)
            if "data-format" in attributes:
                self.formatted.setdefault(attributes.get("data-var"), each)
        self.connected = True

    def _change(self, change):
        attributes = self.elements.setdefault(change["id"], {})
        for name, value in change["attributes"].items():
            if value is None:
                attributes.pop(name, None)
            else:
                attributes[name] = value
        if "content" in change:
            self.texts[change["id"]] = html.unescape(re.sub(r"<[^>]*>", "", change["content"]))

    def is_marked(self, now):
        """Whether the picture as a whole says that its values are not to be trusted."""
        return (not self.connected or now - self.heard >= SILENT or now - self.signed >= SIGN or not self.services_up
                or self.variables.get("Screen.DataState") != CURRENT)

    def _of_widget(self, *names):
        for each in filter(None, map(self.widgets.get, names)):
            return self.elements[each].get("aria-label", self.texts.get(each, ""))
        return None

    def _of_variable(self, variable):
        return self.texts.get(self.formatted[variable], "") if variable in self.formatted else None

    def _read_all(self):
        texts = {name: self._of_widget("orvikTextWidget" + widget, "orvikTextWidgetWad" + widget)
                 for name, widget in VALUE_WIDGETS.items()}
        texts.update({name: self._of_variable(variable) for name, variable in FORMATTED.items()})
        values = {name: self.ABSENT if text is None else as_number(text) for name, text in texts.items()}
        for name in ("weight unit", "distance unit"):
            if texts[name] is not None:
                values[name] = narrow(texts[name]).strip()
        for line in range(1, 5):
            values[f"line {line}"] = self._line(line)
        for lamp in (*LAMPS, "AlarmLED"):
            value = self.variables.get("Orvik" + lamp)
            values["lamp " + lamp] = self.MARKED if value is None else value
        return values

    def _line(self, number):
        found = [self._of_widget(*(f"orvikTextWidget{page}Line{number}{width}" for page in ("", "Wad", "Slate")))
                 for width in ("Std", "Wide")]
        if found == [None, None]:
            return self.ABSENT
        text = next((text for text in map(narrow, filter(None, found)) if text.strip()), "")
        return self.MARKED if SYSTEM_TEXT.search(text) else text.rstrip()

    def _note(self, now):
        marked = self.marked = self.is_marked(now)
        for quantity, value in self._read_all().items():
            history = self.shown.setdefault(quantity, [])
            value = self.MARKED if marked and value is not self.ABSENT else value
            if not history or history[-1][1] != value:
                history.append((now, value))
