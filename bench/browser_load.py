#!/usr/bin/python3
"""Measures the front panel in a browser while the host changes value texts, lamps and percentage a hundred times a
second: the time from a frame on the bus to the document, and what the browser's main thread takes of a core.

Usage: bench/browser_load.py [--seconds 10] [--tab bus] [--steps] [--json FILE] [--quiet]

The browser's own trace gives the processor time of its main thread: of the tasks, and with --steps of what they do, which
costs the main thread a quarter more. A value is in the document when a MutationObserver
sees its text; the browser draws it with the next picture. ORVIK_BIN names the programs' folder.
"""

import argparse
import json
import pathlib
import statistics
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "tests/browser"), str(ROOT / "tests/system")]
from conftest import browser  # noqa: E402
from desk import Desk, cmd2, wait_for  # noqa: E402

RATE = 100
LAMPS = 0x03  # that change with every second value
LOAD = "document.getElementById('screen').shadowRoot?.getElementById('orvikTextWidgetLoad')"
# Of the whole screen: a new picture has a new element for the load.
WATCH = f"""
window.seenLoads = [];
let last = '';
new MutationObserver(() => {{
  const text = {LOAD}?.textContent ?? '';
  if (text !== last) window.seenLoads.push([last = text, Date.now()]);
}}).observe(document.getElementById('screen').shadowRoot, {{characterData: true, childList: true, subtree: true}});
"""
STEPS = {"Layout": "layout", "UpdateLayoutTree": "style", "Paint": "paint", "PrePaint": "before the paint",
         "Layerize": "layers", "FunctionCall": "script"}
MAIN_THREAD, TASK = "CrRendererMain", "ThreadControllerImpl::RunTask"


def send_changes(bus, seconds):
    """Sends values at absolute times; returns when each load was sent, in milliseconds, by its text."""
    sent, due, end = {}, time.perf_counter(), time.perf_counter() + seconds
    step = 0
    while due < end:
        step += 1
        load = 100 * (step % 900 + 100)
        sent.setdefault(f"{load:,}", []).append(1000 * time.time())
        bus.send_message(cmd2(load=load, angle=step % 60, percent=(step % 11) / 10, led=LAMPS * (step % 2)))
        bus.pass_over()
        due += 1 / RATE
        time.sleep(max(0.0, due - time.perf_counter()))
    return sent


def latencies(sent, seen):
    for text, when in seen:
        before = [each for each in sent.get(text.strip(), []) if each <= when]
        if before:
            yield when - before[-1]


def read_trace(file, begin, end):
    """Processor seconds of the page's main thread by the step's name. The trace's clock is the monotonic one."""
    wait_for(file.exists, "the browser's trace", 20)
    events = json.loads(file.read_text())["traceEvents"]
    threads = {(each["pid"], each["tid"]) for each in events
               if each["name"] == "thread_name" and each["args"]["name"] == MAIN_THREAD}
    seconds = {thread: {} for thread in threads}
    for each in events:
        thread = each["pid"], each["tid"]
        if thread in threads and each["ph"] == "X" and 1e6 * begin <= each["ts"] <= 1e6 * end:
            steps = seconds[thread]
            steps[each["name"]] = steps.get(each["name"], 0) + each.get("tdur", 0) / 1e6
    return max(seconds.values(), key=lambda steps: steps.get(TASK, 0))


def measure(folder, options):
    """Sent and seen loads, begin and end; the trace is written when the browser ends."""
    desk = Desk()
    try:
        bus = desk.go_to("Main")
        flags = [f"--trace-startup=toplevel{',devtools.timeline' * options.steps}", f"--trace-startup-file={folder / 'trace.json'}",
                 "--trace-startup-format=json", "--trace-startup-duration=0"]
        with browser(*flags) as driver:
            driver.get(f"http://{desk.address('http')}/")
            wait_for(lambda: driver.execute_script(f"return !!{LOAD}"), "the panel", 20)
            driver.execute_script(WATCH)
            driver.execute_script("document.getElementById(arguments[0]).click()", "tab-" + options.tab)
            send_changes(bus, 1)
            driver.execute_script("window.seenLoads = []")
            begin = time.monotonic()
            sent = send_changes(bus, options.seconds)
            end = time.monotonic()
            return sent, driver.execute_script("return window.seenLoads"), begin, end
    finally:
        desk.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=float, default=10)
    parser.add_argument("--tab", default="bus", help="host, bus, database or services (bus)")
    parser.add_argument("--steps", action="store_true", help="say what the time goes to")
    parser.add_argument("--json", type=pathlib.Path, help="write the figures to this file too")
    parser.add_argument("--quiet", action="store_true")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="orvik-browser-load-") as folder:
        sent, seen, begin, end = measure(pathlib.Path(folder), options)
        steps = read_trace(pathlib.Path(folder) / "trace.json", begin, end)
    times = sorted(latencies(sent, seen))
    figures = {"median": statistics.median(times), "99th": times[int(0.99 * len(times))], "pictures": len(seen) / (end - begin),
               "main thread": 100 * steps[TASK] / (end - begin)}
    if not options.quiet:
        print(f"bus to document: median {figures['median']:.0f} ms, 99th percentile {figures['99th']:.0f} ms; "
              f"{figures['pictures']:.0f} changes of the document a second\n"
              f"main thread: {figures['main thread']:.1f} % of a core")
        if options.steps:
            print(", ".join(f"{word} {100 * steps.get(name, 0) / (end - begin):.1f}" for name, word in STEPS.items()))
    if options.json:
        options.json.write_text(json.dumps(figures) + "\n")


if __name__ == "__main__":
    main()
