"""A page of another site, open in the browser of somebody whose unit runs."""

import functools
import http.server
import shutil
import threading

import pytest

from desk import CONFIG, HOST_ID, cmd2, cut, wait_for, wait_steady

# Each attempt ends with what the page got out of it: the text that it could read, or the kind of refusal.
ATTEMPTS = """
const [panel, bus, lines, done] = arguments;
const read = (promise) => promise.then((text) => 'READ ' + text, (error) => 'refused');
const text = (url, options) => read(fetch(url, options).then((r) => r.type === 'opaque' ? Promise.reject() : r.text()));
const load = (make) => new Promise((end) => {
  const element = make();
  element.onload = element.onopen = element.onmessage = (event) => end('READ ' + event.type);
  element.onerror = () => { element.close?.(); end('refused'); };
  if (element instanceof Element) document.body.append(element);
});
const image = (url) => load(() => Object.assign(new Image(), {src: url}));
const script = (url) => load(() => Object.assign(document.createElement('script'), {src: url}));
const form = (url, type, value) => {
  const frame = Object.assign(document.createElement('iframe'), {name: 'f' + Math.random()});
  document.body.append(frame);
  const form = Object.assign(document.createElement('form'), {action: url, method: 'POST', enctype: type, target: frame.name});
  form.append(Object.assign(document.createElement('textarea'), {name: '{"down":true,"x":"', value}));
  document.body.append(form);
  form.submit();
  return new Promise((end) => { frame.onload = () => {
    try { end(frame.contentDocument.body.textContent ? 'READ page' : 'refused'); } catch { end('refused'); } }; });
};
const down = JSON.stringify({down: true});
const all = [
  text(bus, {method: 'POST', mode: 'no-cors', body: lines}), text(bus, {method: 'POST', body: lines}), text(bus),
  text(bus + lines), load(() => new WebSocket(bus.replace('http', 'ws') + lines)), image(bus), script(bus),
  load(() => new EventSource(bus)), form(bus, 'text/plain', lines), form(bus, 'multipart/form-data', lines),
  text(panel + 'api/keys/1', {method: 'POST', mode: 'no-cors', body: down}),
  text(panel + 'api/keys/2', {method: 'POST', body: down, headers: {'Content-Type': 'application/json'}}),
  text(panel + 'api/keys/3/press', {method: 'POST', mode: 'no-cors'}),
  form(panel + 'api/keys/4', 'text/plain', '"}'), form(panel + 'api/keys/5', 'multipart/form-data', 'x'),
  text(panel + 'api/host/do', {method: 'POST', mode: 'no-cors', body: '{"do":"stop"}'}),
  text(panel + 'api/screen'), text(panel + 'api/screen', {mode: 'no-cors'}), text(panel + 'api/database'),
  text(panel + 'api/health'), image(panel + 'screen.png'), image(panel + 'screen.svg'), script(panel + 'api/screen'),
  load(() => new EventSource(panel + 'api/stream')), load(() => new WebSocket(panel.replace('http', 'ws') + 'api/stream')),
];
Promise.all(all).then(done);
"""


@pytest.fixture
def stranger(tmp_path):
    """Two addresses of another site, whose page is empty, and the paths that it was asked for."""
    (tmp_path / "index.html").write_text("<!doctype html><title>Elsewhere</title><body>")
    visits = []

    class Handler(http.server.SimpleHTTPRequestHandler):
        def log_request(self, *_):
            visits.append(self.path)

    handler = functools.partial(Handler, directory=str(tmp_path))
    with http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler) as server:
        threading.Thread(target=server.serve_forever, daemon=True).start()
        yield [f"http://{name}:{server.server_address[1]}/" for name in ("127.0.0.1", "localhost")], visits
        server.shutdown()


def frames_received(desk):
    """The number that the J1939 service publishes ten times a second."""
    return wait_steady(lambda: desk.get("/api/bus")["received"], "the number of frames", 0.5)


def test_a_page_of_another_site_reads_nothing_and_moves_nothing(open_panel, driver, stranger):
    panel = open_panel()
    desk = panel.desk
    bus = desk.go_to("Main")
    bus.send_message(cmd2(load=12300))
    wait_for(lambda: desk.widget("orvikTextWidgetLoad") == " 12,300", "the load on the screen")
    received = frames_received(desk)
    sends = "".join(f"< send {HOST_ID:08X} 8 {frame.hex(' ')} >" for frame in cut(cmd2(load=99900)))
    lines = f"\r\n< open can0 >\r\n{sends}\r\n< rawmode >\r\n"
    for site in stranger[0]:
        driver.get(site)
        got = driver.execute_async_script(ATTEMPTS, panel.url, f"http://{desk.address('socketcand')}/", lines)
        assert got == ["refused"] * len(got), got
    wait_for(lambda: desk.counters("j1939")["stations.expelled"] > 0, "the attempts at the bus")
    bus.send_message(cmd2(load=12300, radius=20))
    wait_for(lambda: desk.widget("orvikTextWidgetRadius").strip().startswith("20"), "a later message of the host")
    assert desk.widget("orvikTextWidgetLoad") == " 12,300"
    assert frames_received(desk) == received + len(cut(cmd2())), "a frame of the page is on the bus"
    desk.wait_keys()
    assert desk.counters("panel")["streams"] == 0


def test_a_design_of_somebody_else_runs_no_script_and_fetches_nothing(open_panel, driver, stranger, tmp_path, monkeypatch):
    [site, _], visits = stranger
    config = tmp_path / "config"
    shutil.copytree(CONFIG, config)
    for page in (config / "screen").glob("*.svg"):
        page.write_text(page.read_text().replace("</svg>", f"""<g id="payload">
            <image href="{site}pixel.png" width="9" height="9" onload="window.stolen = 2" onerror="window.stolen = 3"/>
            <image href="data:image/png;base64,x" width="9" height="9" onerror="window.stolen = 4"/>
            <rect width="9" height="9" style="fill: url({site}fill.svg#a); background: url({site}fill.png)"/></g></svg>"""))
    monkeypatch.setattr("desk.CONFIG", config)
    panel = open_panel(orvik=False)
    panel.open()
    wait_for(lambda: panel.screen_text("payload") is not None, "the design in the panel")
    assert panel.desk.request("GET", "/screen.png")[0] == 200
    refused = []
    wait_for(lambda: refused.extend(panel.errors()) or sum("pixel.png" in entry["message"] for entry in refused),
             "the browser's refusal of the picture")
    assert driver.execute_script("return window.stolen") is None
    assert visits == []
