"""The prompt of `demo --stay`."""

import inspect
import readline  # noqa: F401  (gives the prompt its line editing)
import subprocess
from collections.abc import Callable

from stories.cloud import run
from stories.device import Failed
from stories.world import BUSY_FILE, TOOL, World

INTRO = """
The bench is open. The host and the cloud run; leave it with "exit".
  publish NAME VERSION   streamer 1.0.0 1.1.0 1.2.0 (never lives) 1.3.0, recorder 1.0.0
  withdraw NAME          take a process off the list
  promote                what is listed is good: "latest" becomes "lastknowngood" as well
  hang NAME              SIGSTOP; found after 6 seconds
  kill NAME              SIGKILL; found after 6 seconds as well
  busy / free            let streamer refuse upgrades, or agree to them
  look                   alarms, processes and the latest events, as the log tells them
  follow                 the same as it goes on (Ctrl-C ends it)
Everything else is a command line of the device's shell.
"""


def look(world: World) -> str:
    events = run([TOOL, "log", "--events", world.host.log]).splitlines()
    return "\n".join([run([TOOL, "log", world.host.log]), "", *events[-12:]])


def follow(world: World) -> None:
    subprocess.run([TOOL, "log", "--follow", world.host.log])


def commands(world: World) -> dict[str, Callable[..., str | None]]:
    return {
        "publish": lambda name, version: world.publish(name, version),
        "withdraw": lambda name: world.cloud.withdraw(name),
        "promote": lambda: world.cloud.copy_label("latest", "lastknowngood"),
        "hang": lambda name: world.device.run(f"kill -STOP {world.pid(name)}"),
        "kill": lambda name: world.device.run(f"kill -KILL {world.pid(name)}"),
        "busy": lambda: world.device.run(f"touch {BUSY_FILE}"),
        "free": lambda: world.device.run(f"rm {BUSY_FILE}"),
        "look": lambda: look(world),
        "follow": lambda: follow(world),
        "help": lambda: INTRO,
    }


def act(world: World, line: str) -> None:
    word, *arguments = line.split() or [""]
    command = commands(world).get(word)
    if command is None:
        subprocess.run([*world.device.shell, line])
        return
    try:
        inspect.signature(command).bind(*arguments)
    except TypeError as mistake:
        raise Failed(f"{word}: {mistake}") from None
    if said := command(*arguments):
        print(said)


def stay(world: World) -> None:
    """Runs a command a line until the user leaves. What goes wrong is said."""
    print(INTRO)
    while True:
        try:
            line = input("bench> ")
            if line.strip() == "exit":
                return
            act(world, line)
        except KeyboardInterrupt:
            print()
        except EOFError:
            return
        except Failed as failure:
            print(failure)
