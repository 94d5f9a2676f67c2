"""The road of an update, from an empty device to running, verified, up-to-date processes and back
from a release that cannot live, on an emulated device: see scripts/demo."""

import argparse
import shutil
import sys
import time
from pathlib import Path

from stories import machine
from stories.cloud import run
from stories.demo_prompt import stay
from stories.steps import Step, Watch, play_steps
from stories.terminal import say
from stories.world import BUSY_FILE, HOST, TARGET_HOST, TOOL, World, live_path

# Short periods, so that the story is short: a fetch every 3 or 4 seconds, reports in between.
SETTINGS = "bootstrap_interval=4\nmetrics_report_interval=20\nfailure_metrics_report_interval=5\n"
FILES_PORT = 8444  # the API and the files are served apart, so that one can be down alone


def bootstrap(see: Watch) -> None:
    see.world.publish("streamer", "1.0.0")
    see.world.publish("recorder", "1.0.0")
    see.world.cloud.copy_label("latest", "lastknowngood")
    see.world.cloud.serve(8443, "--files-url", f"https://files.test:{FILES_PORT}")
    see.world.cloud.serve(FILES_PORT)
    see.world.host.start()
    see.log("Got 2 processes from cloud", 10)
    see.runs("streamer", "1.0.0", 5)
    see.runs("recorder", "1.0.0", 5)


def hang(see: Watch) -> None:
    old = see.world.pid("streamer")
    see.world.device.run(f"kill -STOP {old}")
    see.log("Process streamer failed to report heartbeat", 9)
    see.runs("streamer", "1.0.0", 3, instead_of=old)


def death(see: Watch) -> None:
    old = see.world.pid("recorder")
    see.world.device.run(f"kill -KILL {old}")
    see.log("Process recorder failed to report heartbeat", 9)
    see.runs("recorder", "1.0.0", 3, instead_of=old)


def upgrade(see: Watch) -> None:
    old = see.world.pid("streamer")
    see.world.publish("streamer", "1.1.0")
    see.log("Wait to stop process streamer for upgrading", 8)
    see.log("Pre-download all components for process streamer", 3)
    see.log("Found pre-downloaded component: name streamer, version 1.1.0", 3)
    see.runs("streamer", "1.1.0", 3, instead_of=old)
    see.world.cloud.copy_label("latest", "lastknowngood")


def busy(see: Watch) -> None:
    old = see.world.pid("streamer")
    see.world.device.run(f"touch {BUSY_FILE}")
    time.sleep(1.5)  # until its next heartbeat
    see.world.publish("streamer", "1.2.0")
    see.log("Pre-download all components for process streamer", 8)
    time.sleep(3)
    see.holds(lambda: see.world.pid("streamer") == old, f"still pid {old} 3 s later")


def agree(see: Watch) -> None:
    old = see.world.pid("streamer")
    see.world.device.run(f"rm {BUSY_FILE}")
    see.runs("streamer", "1.2.0", 5, instead_of=old)


def rollback(see: Watch) -> None:
    old = see.world.pid("streamer")
    see.log("Process streamer failed to report heartbeat", 6)
    see.log("Process streamer rollback to version 1.1.0", 8)
    see.world.cloud.copy_label("lastknowngood", "latest")
    see.runs("streamer", "1.1.0", 4, instead_of=old)


def bad_bytes(see: Watch) -> None:
    old = see.world.pid("streamer")
    see.world.publish("streamer", "1.3.0", maxretries=9)
    served = see.world.cloud.releases / "files/streamer/1.3.0"
    served.write_text("cut short\n")
    see.log(f"CheckIntegrity failed for path {live_path('streamer', '1.3.0')}", 8)
    see.log("Launch process streamer unsuccessfully", 3)
    see.log("Launch process streamer unsuccessfully", 6)
    see.holds(lambda: see.world.is_gone("streamer"), "nothing ran")
    shutil.copyfile(see.world.examples / "streamer-1.3.0", served)
    see.log("Launch process streamer successfully", 11)
    see.runs("streamer", "1.3.0", 2, instead_of=old)


def removal(see: Watch) -> None:
    see.world.cloud.withdraw("recorder")
    see.log("Stop unused process recorder", 8)
    see.holds(lambda: see.world.is_gone("recorder"), "recorder is gone", 2)


def sd_cache(see: Watch) -> None:
    old = see.world.pid("streamer")
    see.world.cloud.end(FILES_PORT)
    see.world.device.run(f"rm {live_path('streamer', '1.3.0')} && kill -KILL {old}")
    see.log("Found cached component: name streamer, version 1.3.0", 10)
    see.runs("streamer", "1.3.0", 3, instead_of=old)


def host_killed(see: Watch) -> None:
    old = see.world.pid("streamer")
    see.world.host.end("KILL")
    see.world.host.start()
    see.log("Got 1 processes from cloud", 10)
    see.runs("streamer", "1.3.0", 5, instead_of=old)


def reports(see: Watch) -> None:
    see.report('"heartbeatMissing":"[1-9]')
    see.report('"launchFailures":"[1-9]')
    see.report('"name":"streamer","version":"1.3.0","state":"running","launchFailures":"0"')


def stop(see: Watch) -> None:
    old = see.world.pid("streamer")
    status = see.world.host.end("TERM")
    see.holds(lambda: status == 0, f"the host ended with {status}")
    see.holds(lambda: see.world.pid("streamer") == old, "streamer runs on")


STEPS = [
    Step("an empty device starts; the cloud lists two processes", "download, verify, start both",
         bootstrap),
    Step("streamer hangs (SIGSTOP)", "find it after 6 s, kill it, start it again", hang),
    Step("recorder dies", "find it after 6 s, start it again", death),
    Step("the cloud publishes streamer 1.1.0", "fetch it beside the running one, switch", upgrade),
    Step("streamer says busy; the cloud publishes 1.2.0", "leave 1.1.0 alone, fetch 1.2.0 ahead",
         busy),
    Step("streamer agrees to be upgraded", "switch to 1.2.0", agree),
    Step("1.2.0 never sends a heartbeat", "use up its 2 launches, go back to 1.1.0", rollback),
    Step("1.3.0's bytes do not match its MD5; mended after two launches",
         "start nothing unverified, back off 4 s, 8 s", bad_bytes),
    Step("the cloud takes recorder off the list", "stop it and forget it", removal),
    Step("file server down, live file lost, streamer dies", "take the copy on the SD card",
         sd_cache),
    Step("the host is killed and started again", "end up as the cloud says", host_killed),
    Step("the device reports its health", "counters of what happened, then reset", reports),
    Step("the host is asked to end (SIGTERM)", "end with 0, leave processes running", stop),
]


def play(world: World, then_stay: bool) -> bool:
    happened = play_steps(world, STEPS)
    if then_stay:
        world.cloud.serve(FILES_PORT)
        world.host.start()
        stay(world)
        world.host.end("TERM")
    return happened


def open_at_once(world: World) -> bool:
    """The prompt without the story before it."""
    bootstrap(Watch(world))
    stay(world)
    world.host.end("TERM")
    return True


def keep_log(world: World, folder: Path) -> None:
    """What happened on the device, as a page beside the log that it was made of."""
    log = shutil.copy(world.host.log, folder / "demo.log")
    page = folder / "demo.html"
    run([TOOL, "log", "--html", page, log])
    say(f"what happened on the device, as a page: {page} (made of {log})")


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="demo")
    way = parser.add_mutually_exclusive_group()
    way.add_argument("--stay", action="store_true")
    way.add_argument("--prompt", action="store_true")
    device = parser.add_mutually_exclusive_group()
    device.add_argument("--target", action="store_true")
    device.add_argument("--machine", action="store_true")
    parser.add_argument("--keep", type=Path, default=Path("build"))
    return parser.parse_args()


def make_world(arguments: argparse.Namespace) -> World:
    if arguments.machine:
        return World(SETTINGS, machine.HOST, machine.here(), machine.EXAMPLES)
    return World(SETTINGS, TARGET_HOST if arguments.target else HOST)


def main() -> int:
    arguments = parse_arguments()
    world = make_world(arguments)
    happened = open_at_once(world) if arguments.prompt else play(world, arguments.stay)
    keep_log(world, arguments.keep)
    return 0 if happened else 1


if __name__ == "__main__":
    sys.exit(main())
