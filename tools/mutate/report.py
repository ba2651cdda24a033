"""The results file, one JSON line a fault, and what it says."""

import json

from operators import RACES, one_line

CAUGHT, SURVIVED, EQUAL, UNCOMPILED = "caught", "survived", "equal", "uncompiled"


def read_results(file):
    """The last result of each fault. A line cut short by an interruption is passed over."""
    results = {}
    if file.exists():
        for line in file.read_text().splitlines():
            try:
                result = json.loads(line)
            except ValueError:
                continue
            results[result["key"]] = result
    return results


def percent(results):
    counted = [result for result in results if result["state"] in (CAUGHT, SURVIVED)]
    caught = sum(result["state"] == CAUGHT for result in counted)
    return f"{caught:5} of {len(counted):4}  {100 * caught / len(counted):5.1f} %" if counted else "    0 of    0"


def shares(results, name, value):
    groups = {}
    for result in results:
        groups.setdefault(value(result), []).append(result)
    lines = [f"caught by {name}:"]
    for group, members in sorted(groups.items()):
        if any(result["state"] in (CAUGHT, SURVIVED) for result in members):
            lines.append(f"  {group:24}{percent(members)}")
    return lines


def survivor(result):
    return [f"  {result['file']}:{result['line']}  {result['kind']}",
            f"      {one_line(result['before'])}",
            f"      {result['change']}"]


def report(results):
    """The whole report as text."""
    results = list(results)
    seen = [result for result in results if result["kind"] not in RACES]
    states = {state: sum(result["state"] == state for result in results)
              for state in (CAUGHT, SURVIVED, EQUAL, UNCOMPILED)}
    survivors = sorted((result for result in results if result["state"] == SURVIVED),
                       key=lambda result: (result["file"], result["line"]))
    lines = ["survivors:", *(line for result in survivors for line in survivor(result))] if survivors else []
    lines += shares(results, "kind", lambda result: result["kind"])
    lines += shares(results, "folder", lambda result: result["file"].rsplit("/", 1)[0])
    lines.append(f"all:                      {percent(results)}")
    if len(seen) != len(results):
        lines.append(f"without lock and order:   {percent(seen)}")
    lines.append(f"not counted: {states[UNCOMPILED]} did not compile, {states[EQUAL]} left the object code as it was")
    return "\n".join(lines)
