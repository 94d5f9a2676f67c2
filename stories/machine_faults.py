"""What goes wrong on a real device, on the emulated machine: card, flash, memory, network, clock,
and mistakes of whoever set it up. Ends with the demo's table. Beside device/machine, on the bench
device; see scripts/machine-faults."""

import shutil
import socket
import sys
import time
from collections.abc import Iterator
from contextlib import contextmanager

from stories import machine
from stories.demo import SETTINGS
from stories.device import Failed
from stories.host import Host
from stories.steps import Step, Watch, play_steps
from stories.world import FOLDER, World

API = 8443
CARD = "/media/mmc"


@contextmanager
def state(see: Watch, begin: str, end: str) -> Iterator[None]:
    """What the command line `begin` brings about and `end` takes back."""
    see.world.device.run(begin)
    try:
        yield
    finally:
        see.world.device.run(end)


@contextmanager
def filled(see: Watch, folder: str) -> Iterator[None]:
    fill = "; ".join(f"dd if=/dev/zero bs={size} >>{folder}/fill" for size in ["64k", "512"])
    with state(see, f"{fill}; sync", f"rm {folder}/fill"):
        see.holds(lambda: "100%" in see.world.device.run(f"df {folder}"), f"{folder} is full")
        yield


def other_version(see: Watch) -> str:
    """Of streamer, and forgets its files: it has to be fetched again."""
    version = "1.1.0" if see.world.cloud.listed()["streamer"] == "1.0.0" else "1.0.0"
    see.world.device.run(f"rm -rf /opt/streamer/{version} {CARD}/.ota/* 2>/dev/null; true")
    return version


def update(see: Watch) -> None:
    """Must work."""
    old, version = see.world.pid("streamer"), other_version(see)
    see.world.publish("streamer", version, maxretries=9)
    see.runs("streamer", version, 15, instead_of=old)
    see.world.cloud.copy_label("latest", "lastknowngood")


def restart_host(see: Watch) -> None:
    see.world.host.end("KILL")
    see.world.host.start()


def bootstrap(see: Watch) -> None:
    see.world.publish("streamer", "1.0.0", maxretries=9)
    see.world.publish("recorder", "1.0.0", maxretries=9)
    see.world.cloud.copy_label("latest", "lastknowngood")
    see.world.cloud.serve(API)
    see.world.host.start()
    see.runs("streamer", "1.0.0", 10)
    see.runs("recorder", "1.0.0", 10)


def card_full(see: Watch) -> None:
    with filled(see, CARD):
        update(see)


def card_read_only(see: Watch) -> None:
    with state(see, f"mount -o remount,ro {CARD}", f"mount -o remount,rw {CARD}"):
        update(see)


def card_formatted(see: Watch) -> None:
    see.world.device.run(f"umount {CARD} && mkdosfs /dev/mmcblk0 && mount /dev/mmcblk0 {CARD}")
    old, version = see.world.pid("streamer"), see.world.cloud.listed()["streamer"]
    see.world.device.run(f"rm -r /opt/streamer/{version}; kill -KILL {old}")
    see.runs("streamer", version, 15, instead_of=old)
    see.holds(lambda: see.world.device.ask(f"ls {CARD}/.ota") != "", "a copy is on the card", 5)


def card_pulled(see: Watch) -> None:
    machine.monitor("eject -f sd")
    update(see)
    with state(see, f"umount -l {CARD}; rmdir {CARD}", "true"):
        update(see)


def flash_full(see: Watch) -> None:
    version = other_version(see)  # whose old files would leave room
    with filled(see, "/opt"):
        see.world.publish("streamer", version, maxretries=9)
        see.log("Launch process streamer unsuccessfully", 15)
        see.holds(lambda: see.world.is_gone("streamer"), "nothing half written runs")
    see.runs("streamer", version, 40)


def tmp_full(see: Watch) -> None:
    with state(see, "mount -o remount,size=1m /tmp", "mount -o remount,size=50% /tmp"):
        with filled(see, "/tmp"):
            update(see)


def no_wlan0(see: Watch) -> None:
    with state(see, "ip link set wlan0 down", "ip link set wlan0 up"):
        restart_host(see)
        see.log("Init HttpRequest Instance failed", 10)
    see.log("processes from cloud", 15)


def no_route(see: Watch) -> None:
    with state(see, "ip link set eth0 down", "ip link set eth0 up"):
        see.log("Get latest processes failed", 25)
        old = see.world.pid("streamer")
        see.world.device.run(f"kill -STOP {old}")
        see.runs("streamer", see.world.cloud.listed()["streamer"], 20, instead_of=old)
    update(see)


@contextmanager
def cloud_away(see: Watch) -> Iterator[None]:
    see.world.cloud.end(API)
    try:
        yield
    finally:
        see.world.cloud.serve(API)


def no_cloud(see: Watch) -> None:
    with cloud_away(see):
        restart_host(see)
        see.log("Failed to get processes for version latest", 15)
        see.holds(lambda: not see.world.is_gone("streamer"), "what ran runs on, unsupervised")
    see.log("processes from cloud", 15)


def deaf_cloud(see: Watch) -> None:
    with cloud_away(see), socket.create_server(("127.0.0.1", API)):
        see.log("Get latest processes failed", 60)
        old = see.world.pid("recorder")
        see.world.device.run(f"kill -KILL {old}")
        see.runs("recorder", "1.0.0", 60, instead_of=old)
    update(see)


def long_ago(see: Watch) -> None:
    """On the second of January: the kernel refuses a time before the machine's start."""
    now = see.world.device.run("date +%s")
    see.world.host.end("KILL")
    with state(see, "date -s @86400", f"date -s @{now}"):
        see.world.host.start()
        see.log("Failed to get processes for version latest", 20)
    see.log("processes from cloud", 15)
    for name, version in see.world.cloud.listed().items():
        see.runs(name, version, 30)


def forward(see: Watch) -> None:
    see.world.device.run("date -s @$(($(date +%s) + 86400))")
    update(see)


def back(see: Watch) -> None:
    """The dead process is dead until the clock has caught up, and so it is helped."""
    old = see.world.pid("recorder")
    see.world.device.run(f"date -s @$(($(date +%s) - 86400)); kill -KILL {old}")
    try:
        see.runs("recorder", "1.0.0", 5)
    except Failed:
        see.observed.append("recorder stays dead")
    see.world.device.run("date -s @$(($(date +%s) + 86400))")
    see.runs("recorder", "1.0.0", 20, instead_of=old)


def no_pkill(see: Watch) -> None:
    old = see.world.pid("recorder")
    with state(see, "mount -o bind /bin/busybox /usr/bin/pgrep", "umount /usr/bin/pgrep"):
        see.world.device.run(f"kill -STOP {old}")
        see.log("Launch process recorder successfully", 20)
    count = see.world.device.run("pgrep -x recorder | wc -l")
    see.holds(lambda: int(count) > 1, f"{count} of recorder run")
    see.world.device.run("pkill -KILL -x recorder")
    see.runs("recorder", "1.0.0", 20, instead_of=old)


def two_hosts(see: Watch) -> None:
    second = Host(see.world.device, f"env {machine.HOST}", FOLDER / "second.log")
    second.start()
    second.expect("bind heartbeat socket failed", 0, 20)
    see.observed.append(second.lines[0])
    update(see)
    second.end("KILL")


def out_of_memory(see: Watch) -> None:
    """With the host as the kernel's first choice, the worst case."""
    host = see.world.host.pid
    see.world.device.run(f"echo 1000 >/proc/{host}/oom_score_adj; mount -o remount,size=90% /run")
    fill = f"while [ -e /proc/{host}/stat ]; do head -c 500000 /dev/zero >>/run/fill || break; done"
    with state(see, fill, "rm -f /run/fill"):
        see.holds(lambda: see.world.device.ask(f"ls /proc/{host}/exe") == "",
                  "the kernel has killed the host", 10)
    see.world.host.end("KILL")
    see.world.host.start()
    see.log("processes from cloud", 15)
    update(see)


def end_of_clock(see: Watch) -> None:
    """The end of 32-bit time is 2038-01-19 03:14:07, 2147483647. This userland's own seconds have
    32 bits: ls, ps, pgrep and pkill do not see what starts later."""
    recorders = ("read -r _ _ _ _ last </proc/loadavg; for pid in $(seq $last); do "
                 "read -r name </proc/$pid/comm && [ $name = recorder ] && echo $pid; "
                 "done 2>/dev/null; true")
    see.world.device.run("date -s @2147483640")
    time.sleep(20)
    see.log("processes from cloud", 10)
    see.world.device.run(f"kill -KILL $({recorders})")
    see.log("Process recorder failed to report heartbeat", 15)
    see.log("Launch process recorder successfully", 10)
    see.holds(lambda: see.world.device.ask(recorders) != "", "recorder runs", 5)
    see.log("processes from cloud", 10)


STEPS = [
    Step("an empty device starts", "install and start both", bootstrap),
    Step("the card is full", "update without the card's copy", card_full),
    Step("the card is read-only", "update without the card's copy", card_read_only),
    Step("the card is formatted anew; a file is lost", "fetch it, have a copy on the card again",
         card_formatted),
    Step("the flash is full, then not any more",
         "run nothing half written, back off, start what the cloud says", flash_full),
    Step("/tmp is full", "update", tmp_full),
    Step("wlan0 is down as the host starts, and up later", "wait for it", no_wlan0),
    Step("no way to the cloud; streamer hangs", "start it again, update once there is a way",
         no_route),
    Step("no cloud as the host starts", "ask until it is there", no_cloud),
    Step("the cloud accepts and never answers; recorder dies", "start it again, late", deaf_cloud),
    Step("the clock says 1970 as the host starts, then today",
         "trust no certificate, then go on", long_ago),
    Step("the clock goes a day forward", "go on", forward),
    Step("the clock goes a day back; recorder dies",
         "nothing until the clock has caught up, then start it again", back),
    Step("no pkill; recorder hangs", "start another one (a known limit)", no_pkill),
    Step("a second host is started", "it waits for the heartbeats' name, the first goes on",
         two_hosts),
    Step("the host is killed for memory, and started again", "end up as the cloud says",
         out_of_memory),
    Step("the card is pulled while it is mounted; later its folder is gone as well", "update",
         card_pulled),
    Step("the clock passes the end of 32-bit time; recorder dies", "start it again, go on fetching",
         end_of_clock),
]


def main() -> int:
    world = World(SETTINGS, machine.HOST, machine.here(), machine.EXAMPLES)
    happened = play_steps(world, STEPS)
    shutil.copy(world.host.log, "build/machine-faults.log")
    return 0 if happened else 1


if __name__ == "__main__":
    sys.exit(main())
