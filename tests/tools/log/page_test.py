#!/usr/bin/env python3
"""Opens the page of `tolvar log --html` in Chromium. page_test.py TOOL...; 77 without Chromium."""
import os
import shutil
import subprocess
import sys
import tempfile

from browser import Browser

START = """12:00:00 mac address 02005e102030
12:00:00 Get enr successfully
12:00:00 Get processes from domain https://c, status 0
12:00:00 Parsed component cam, version 1.0
12:00:00 Got 1 processes from cloud
12:00:01 Downloaded component: name cam, version 1.0
12:00:01 Launched process cam
12:00:01 Launch process cam successfully
"""
FAILURE = """12:05:00 Process cam failed to report heartbeat, heartbeatMissing 1
12:05:00 Curl return code 7
12:05:00 Get response from url https://c/</script><b>x, status 2
12:05:00 GetResponse failed for component cam
12:05:00 Failed to get components for process cam
12:05:00 Launch process cam unsuccessfully
12:05:10 Found cached component: name cam, version 1.0
12:05:10 Launched process cam
12:05:10 Launch process cam successfully
12:10:00 Launched process <img src=x onerror=alert(1)>
"""


def many(processes):
    """Processes that are launched, fail and are launched again, at times of their own."""
    lines = ["00:00:00 mac address 02005e102030"]
    for minute in range(600):
        name = f"process-{minute % processes}"
        clock = f"{minute // 60:02}:{minute % 60:02}:00 "
        lines += [f"{clock}Process {name} failed to report heartbeat, heartbeatMissing 1"] * (minute >= processes)
        lines.append(f"{clock}Launched process {name}")
    return "\n".join(lines) + "\n"


class Checks:
    def __init__(self):
        self.failed = 0

    def equal(self, what, seen, expected):
        if seen != expected:
            self.failed += 1
            print(f"FAILED: {what}: {seen!r}, expected {expected!r}")

    def contains(self, what, seen, expected):
        self.equal(f"{what} ({seen!r}) has {expected!r}", expected in seen, True)


def count(browser, selector):
    return browser.value(f"document.querySelectorAll({selector!r}).length")


def check_story(browser, checks):
    checks.equal("lanes", browser.value("[...document.querySelectorAll('.name')].map(e => e.textContent)"),
                 ["", "supervisor", "<img src=x onerror=alert(1)>", "cam"])
    bars = browser.value("[...document.querySelectorAll('.bar')].map(e => e.className.split(' ')[1] + ' ' + e.textContent)")
    # Running 1.0, failed, backing off, running 1.0; the other process, whose version nothing tells.
    checks.equal("bars", bars, ["v0 ", "v0 1.0?", "failed 1.0?", "failed 1.0?", "v0 1.0?"])
    checks.equal("rows of the table", count(browser, "tbody tr"), 2)
    browser.hover(".lane:nth-child(3) .bar", 0)
    checks.contains("tip of a bar", browser.value("document.getElementById('tip').innerText"),
                    "line 7: Launched process cam")
    browser.hover(".mark.bad", 0)
    checks.contains("tip of a mark", browser.value("document.getElementById('tip').innerText"), "curl 7")
    width = "document.querySelectorAll('.lane:nth-child(3) .bar')[2].offsetWidth"
    before = browser.value(width)
    browser.value("document.getElementById('in').click(), new Promise(requestAnimationFrame)")
    checks.equal("zooming in widens a bar", browser.value(width) > before, True)


def check_many(browser, checks):
    checks.equal("lanes of many", count(browser, ".lane"), 101)
    checks.equal("bars of many", count(browser, ".bar"), 600 + 500)
    browser.value("const f = document.getElementById('find'); f.value = 'process-42'; f.dispatchEvent(new Event('input'))")
    checks.equal("lanes found", browser.value("[...document.querySelectorAll('.lane')].filter(e => e.offsetHeight).length"), 1)


def main(*tool):
    if not shutil.which("chromium"):
        return 77
    checks = Checks()
    with tempfile.TemporaryDirectory() as folder:
        page = os.path.join(folder, "page.html")
        for log, check in ((START + FAILURE, check_story), (many(100), check_many), ("", None)):
            subprocess.run([*tool, "log", "--html", page, "-"], input=log, text=True, check=True)
            for scheme in ("light", "dark"):
                with Browser() as browser:
                    browser.open(page, scheme)
                    if check:
                        check(browser, checks)
                    checks.equal("problems in the page", browser.problems, [])
    return 1 if checks.failed else 0


sys.exit(main(*sys.argv[1:]))
