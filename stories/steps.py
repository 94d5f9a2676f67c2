"""How a story watches the device step by step, and the table that it ends with."""

import time
from collections.abc import Callable
from dataclasses import dataclass

from stories.device import Failed, wait_for
from stories.terminal import print_table, progress, say
from stories.world import REPORTS, World


class Watch:
    """Looks at the device for one step and keeps what it saw. What is expected and not seen in time
    raises Failed, and that is the end of the step."""

    def __init__(self, world: World) -> None:
        self.world = world
        self.observed: list[str] = []
        self._pace = world.device.pace
        self._mark = len(world.host.lines)  # the first line that the step has not seen yet

    def log(self, text: str, seconds: float) -> None:
        """Expects a line with `text` behind the last one seen."""
        seconds *= self._pace
        progress(f"         up to {seconds} s for: {text}")
        found = self.world.host.expect(text, self._mark, seconds)
        self._mark = found + 1
        self.observed.append(self.world.host.lines[found])

    def holds(self, condition: Callable[[], bool], text: str, seconds: float = 0) -> None:
        if not wait_for(seconds * self._pace, condition):
            raise Failed(f"not so: {text}")
        self.observed.append(text)

    def runs(self, name: str, version: str, seconds: float, instead_of: int = 0) -> None:
        seconds *= self._pace
        if not wait_for(seconds, lambda: self.world.runs(name, version, instead_of)):
            raise Failed(f"{name} {version} does not run anew within {seconds} s")
        pids = f"{instead_of or 'none'} -> {self.world.pid(name)}"
        self.observed.append(f"{name} {version} runs, pid {pids}")

    def report(self, part: str) -> None:
        """Expects a report with a process of which `part`, a regular expression, holds."""
        look = f"grep -oh -m 1 '{{[^{{]*{part}[^}}]*}}' {REPORTS} | head -n 1"
        progress(f"         up to {25 * self._pace} s for a report with {part}")
        if not wait_for(25 * self._pace, lambda: self.world.device.ask(look) != ""):
            raise Failed(f"no report with {part}")
        self.observed.append(self.world.device.ask(look))


@dataclass(frozen=True)
class Step:
    """What happens, what the device is to do then, and the function that does the one and watches
    for the other."""

    happens: str
    expected: str
    play: Callable[[Watch], None]


def play_steps(world: World, steps: list[Step]) -> bool:
    """Plays them all, whatever became of those before, and prints the table: whether all that was
    expected was seen."""
    start = time.monotonic()
    rows = [["at (s)", "", "what happened | expected of the device | observed"]]
    for step in steps:
        begin = time.monotonic() - start
        say(f"{begin:5.1f} s  {step.happens}")
        watch = Watch(world)
        verdict = "ok"
        try:
            step.play(watch)
        except Failed as failure:
            watch.observed.append(f"MISSED: {failure}")
            say(f"         MISSED: {failure}")
            verdict = "MISS"
        seen = "\n            ".join(watch.observed)
        rows.append([f"{begin:.1f}", verdict,
                     f"{step.happens}\n  expected: {step.expected}\n  observed: {seen}"])
    print_table(rows, right=[0])
    happened = sum(row[1] == "ok" for row in rows)
    say(f"\n{happened} of {len(steps)} steps happened")
    return happened == len(steps)
