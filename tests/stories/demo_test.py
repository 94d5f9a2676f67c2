#!/usr/bin/env python3
"""Plays the demo and compares its table with what the operators' tool tells from the log: both must
have the same story. demo_test.py SCRATCH"""

import json
import re
import subprocess
import sys
from collections.abc import Iterator
from pathlib import Path
from typing import Any

TOOL = "build/release/tools/tolvar/tolvar"
# Observed lines behind which no event stands: parts of others.
PARTS = re.compile(r"Pre-download all|Found (pre-downloaded|cached)|Launch process \w+ succ")


def observed(table: str) -> Iterator[tuple[str, str]]:
    """The step and the text of all that the table says was observed."""
    step = ""
    for line in table.splitlines():
        if begin := re.fullmatch(r" *[\d.]+  (?:ok|MISS)\s+(.+)", line):
            step = begin[1]
        elif text := re.fullmatch(r" {14}observed: (.+)| {24}(\S.*)", line):
            yield step, text[1] or text[2]


def agree(text: str, event: dict[str, Any]) -> bool:
    """Whether the event is what the table calls `text`."""
    if runs := re.match(r"(\w+) ([\d.]+) runs, pid", text):
        return (event["event"], event["process"], event["to"]) == ("launched", *runs.groups())
    if stamped := re.fullmatch(r"([\d:.]{12}) (.+)", text):
        return bool(event["time"].endswith(stamped[1]) and event.get("text") == stamped[2])
    return False


def is_of_the_log(text: str) -> bool:
    return bool(re.match(r"\w+ [\d.]+ runs|[\d:.]{12} ", text)) and not PARTS.match(text[13:])


def main(scratch: Path) -> int:
    scratch.mkdir(parents=True, exist_ok=True)
    demo = subprocess.run(["scripts/demo", "--keep", scratch], stdout=subprocess.PIPE, text=True)
    print(demo.stdout)
    told = subprocess.run([TOOL, "log", "--json", scratch / "demo.log"], check=True,
                          stdout=subprocess.PIPE, text=True).stdout
    events = [event for event in map(json.loads, told.splitlines()) if "event" in event]
    events = [{"process": "", "to": "", **event} for event in events]
    missed, compared, at = 0, 0, 0
    for step, text in observed(demo.stdout):
        if not is_of_the_log(text):
            continue
        compared += 1
        found = next((i for i in range(at, len(events)) if agree(text, events[i])), None)
        if found is None:
            missed += 1
            print(f"FAILED: {step}: no event for: {text}")
        else:
            at = found
    print(f"{compared - missed} of {compared} observations are events of the log as well")
    return 0 if demo.returncode == 0 and missed == 0 and compared > 20 else 1


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
