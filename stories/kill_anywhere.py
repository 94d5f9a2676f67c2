"""Kills the host (SIGKILL) during first install, upgrade, rollback and removal: at a random time, a
random moment into a download, or at a random one of its system calls. Starts it again and checks
that the device ends up as the cloud says: every listed process alive, from a file that verifies,
none removed. kill_anywhere ROUNDS DEVICES, on so many devices at a time; fails when a round does
not end so. On the bench device, ROUNDS alone."""

import filecmp
import os
import random
import subprocess
import sys
import time
from pathlib import Path

from stories.device import Failed, wait_for
from stories.terminal import progress, say
from stories.world import BUILD, World, live_path

EXAMPLES = Path("/run/examples")


def make_examples() -> None:
    """The applications, long enough that some kills meet one half written."""
    EXAMPLES.mkdir()
    for name in ["streamer-1.0.0", "streamer-1.1.0", "streamer-1.2.0", "recorder-1.0.0"]:
        bytes_of_it = (BUILD / "examples" / name).read_bytes() + os.urandom(8_000_000)
        (EXAMPLES / name).write_bytes(bytes_of_it)


# ---- what a round begins with; each leaves the cloud as the device must end up ------------------


def first_install(world: World) -> None:
    world.host.end("KILL")
    world.device.ask("pkill -9 -x streamer")
    world.device.run("rm -rf /opt/streamer /opt/recorder /media/mmc/.ota")
    world.host.start()


def upgrade(world: World) -> None:
    version = "1.0.0" if world.cloud.listed()["streamer"] == "1.1.0" else "1.1.0"
    forget(world, version)
    world.publish("streamer", version)


def rollback(world: World) -> None:
    """A release that never heartbeats has used up its launches; "lastknowngood" is 1.0.0, and from
    the kill on "latest", too."""
    world.publish("streamer", "1.2.0", maxretries=1)
    await_running(world, "streamer", "1.2.0")
    forget(world, "1.0.0")
    world.publish("streamer", "1.0.0")


def removal(world: World) -> None:
    world.publish("recorder", "1.0.0")
    await_running(world, "recorder", "1.0.0")
    world.cloud.withdraw("recorder")


def forget(world: World, version: str) -> None:
    """So that it has to be fetched again."""
    world.device.run(f"rm -rf /opt/streamer/{version} /media/mmc/.ota")


def await_running(world: World, name: str, version: str) -> None:
    if not wait_for(20, lambda: world.runs(name, version)):
        raise Failed(f"{name} {version} did not begin")


# ---- how the host is interrupted; each says when ------------------------------------------------


def at_a_time(world: World) -> str:
    some = random.randrange(2500)
    time.sleep(some / 1000)
    return f"after {some} ms"


def into_a_download(world: World) -> str:
    line, span, what = random.choice([("Parsed component info", 60, "into a download"),
                                      ("Get response from url", 20, "after a download")])
    some = random.randrange(span)
    try:
        world.host.expect(line, len(world.host.lines), 2)
    except Failed:
        return "without a download"
    time.sleep(some / 1000)
    return f"{some} ms {what}"


def at_a_call(world: World) -> str:
    """In the host's threads only, not in the commands that it runs."""
    some = random.randrange(40) + 1
    calls = "desc,file,network,process"
    threads = world.device.ask(f"ls /proc/{world.host.pid}/task | paste -sd ,")
    world.device.ask(f"timeout 8 strace -qq -o /dev/null -e trace={calls} "
                     f"-e inject={calls}:signal=KILL:when={some} -p {threads}")
    return f"at system call {some}"


# ---- what must hold at the end ------------------------------------------------------------------


def verifies(path: str, name: str, version: str) -> bool:
    return Path(path).exists() and filecmp.cmp(path, EXAMPLES / f"{name}-{version}", shallow=False)


def any_torn(world: World) -> bool:
    return any(Path(path).exists() and not verifies(path, name, version)
               for name, version in world.cloud.listed().items()
               for path in (live_path(name, version) + slot for slot in ["", ".predownload"]))


def converged(world: World, mark: int) -> bool:
    """A host that is killed before it has fetched a removal does not know of it when it starts
    again: only one that did must have stopped the process."""
    removed = world.host.find("Stop unused process recorder", mark) is not None
    return (not removed or world.is_gone("recorder")) and all(
        world.runs(name, version) and verifies(live_path(name, version), name, version)
        for name, version in world.cloud.listed().items())


def stays_converged(world: World, mark: int) -> bool:
    if not converged(world, mark):
        return False
    time.sleep(1.2)
    return converged(world, mark)


def play(world: World, number: int) -> None:
    """Prints a line; raises Failed when the round does not end as it must."""
    scenario = [first_install, upgrade, rollback, removal][number % 4]
    interrupt = [at_a_time, into_a_download, at_a_call][number % 3]
    world.device.ask("pkill -9 -x recorder")
    mark = len(world.host.lines)
    scenario(world)
    moment = interrupt(world)
    world.host.end("KILL")
    torn = " with a file half written" if any_torn(world) else ""
    world.host.start()
    told = f"{scenario.__name__}, killed {moment}{torn}"
    if not wait_for(40, lambda: stays_converged(world, mark)):
        raise Failed("\n".join([f"{told}, does not converge to", str(world.cloud.listed()),
                                *world.host.lines[-30:]]))
    say(f"{told}: converged")


def on_device(rounds: int) -> int:
    make_examples()
    world = World("bootstrap_interval=0\n", examples=EXAMPLES)
    world.publish("streamer", "1.0.0")
    world.cloud.copy_label("latest", "lastknowngood")
    world.cloud.serve()
    world.host.start()
    try:
        if not wait_for(20, lambda: stays_converged(world, 0)):
            raise Failed("\n".join(["no first set", *world.host.lines]))
        for number in range(rounds):
            play(world, number)
    except Failed as failure:
        say(str(failure))
        return 1
    return 0


def on_all_devices(rounds: int, devices: int) -> int:
    start = time.monotonic()
    reader, writer = os.pipe()
    bench = ["device/bench", "--", sys.executable, "-B", "-m", "stories.kill_anywhere"]
    running = [subprocess.Popen([*bench, str((rounds + i) // devices)], stdout=writer)
               for i in range(devices)]
    os.close(writer)
    ended: list[str] = []
    for line in os.fdopen(reader):
        ended += [line] * line.endswith(": converged\n")
        say(f"{len(ended)}  {line.rstrip()}")
        progress(f"{len(ended)} of {rounds} rounds, {time.monotonic() - start:.0f} s")
    failed = [device for device in running if device.wait() != 0]
    counts = [f"{sum(text in line for line in ended)} {text}"
              for text in ("into a download", "after a download", "at system call", "half written")]
    say(f"killed: {', '.join(counts)}")
    say(f"{len(ended)} of {rounds} rounds converged" if failed else
        f"{rounds} rounds, all converged")
    return 1 if failed else 0


if __name__ == "__main__":
    counts = [int(word) for word in sys.argv[1:]]
    sys.exit(on_device(*counts) if "TOLVAR_BENCH" in os.environ else on_all_devices(*counts))
