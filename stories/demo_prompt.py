"""The prompt of `demo --stay`."""

import inspect
import readline  # noqa: F401  (gives the prompt its line editing)
import subprocess
from collections.abc import Callable

from stories.device import Failed
from stories.world import BUSY_FILE, REPORTS, World

INTRO = """
The bench is open. The host and the cloud run; leave it with "exit".
  publish NAME VERSION   streamer 1.0.0 1.1.0 1.2.0 (never lives) 1.3.0, recorder 1.0.0
  withdraw NAME          take a process off the list
  promote                what runs is good: "latest" becomes "lastknowngood" as well
  hang NAME              SIGSTOP; found after 6 seconds
  kill NAME              SIGKILL; found after 6 seconds as well
  busy / free            let streamer refuse upgrades, or agree to them
  look                   the last lines of the host's log, the last report, what runs
  follow                 the host's log as it is written (Ctrl-C ends it)
Everything else is a command line of the device's shell.
"""


def look(world: World) -> str:
    running = f"ps -C streamer,recorder -p {world.host.pid} -o pid,stat,etimes,args"
    return "\n".join([*world.host.lines[-15:], "", world.device.ask(f"tail -n 1 {REPORTS}"), "",
                      world.device.ask(running)])


def follow(world: World) -> str:
    shown = max(0, len(world.host.lines) - 5)
    while True:
        world.host.expect("", shown, None)
        print(world.host.lines[shown])
        shown += 1


def commands(world: World) -> dict[str, Callable[..., str]]:
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
