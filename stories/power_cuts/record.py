"""What the machine's disk is written while an update runs: three updates, each from its beginning
with the device's start until all is written."""

import hashlib
import os
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

from stories.cloud import Cloud
from stories.device import Device, Failed, wait_for
from stories.machine import EXAMPLES, HOST, Machine
from stories.power_cuts.disk import CARD_FROM
from stories.power_cuts.write_log import Write, read_log
from stories.world import BUILD, FOLDER

SETTINGS = "bootstrap_interval=3\n"
START_HOST = f"{HOST} >/run/host.log 2>&1 </dev/null &"
# What the kernel holds back for seconds is written sooner here: more states to cut at.
WRITE_SOON = "sysctl -q -w vm.dirty_writeback_centisecs=20 vm.dirty_expire_centisecs=20"
PROGRAMS = {"streamer": 24_000, "recorder": 16_000}  # with the size they are given
MODEL_SIZE = 20_000
LIVE = "/opt/cam"


def make_components(folder: Path) -> None:
    """Programs and a data file, long enough for several blocks and clusters each."""
    folder.mkdir()
    for example in EXAMPLES.glob("*-?.?.?"):
        name, version = example.name.split("-")
        program = example.read_bytes()
        (folder / example.name).write_bytes(program + os.urandom(PROGRAMS[name] - len(program)))
        (folder / f"model-{version}").write_bytes(os.urandom(MODEL_SIZE))


@dataclass(frozen=True)
class Release:
    """The cloud's set: a streamer with its model, and a recorder that never changes."""

    cloud: Cloud
    components: Path

    def publish(self, version: str) -> None:
        self._publish("streamer", version, "streamer", "model")
        self._publish("recorder", "1.0.0", "recorder")

    def wanted(self, version: str) -> dict[str, str]:
        """MD5 by path."""
        return {f"{LIVE}/{name}": hashlib.md5(self._file(name, of).read_bytes()).hexdigest()
                for name, of in [("streamer", version), ("model", version), ("recorder", "1.0.0")]}

    def _file(self, name: str, version: str) -> Path:
        return self.components / f"{name}-{version}"

    def _publish(self, process: str, version: str, *names: str) -> None:
        path = f"{LIVE}/{process}"
        components = [option for name in names for option in
                      ("--component", f"{self._file(name, version)},{name},{LIVE}/{name}")]
        self.cloud.change(
            "publish", "--label", "latest", "--process", process, "--version", version,
            "--maxstartuptime", "2", "--maxretries", "1", "--entrypoint",
            f"chmod +x {path}; {path} >/run/{process}.log 2>&1 </dev/null &",
            *components)


def await_log(device: Device, text: str, count: int = 1) -> None:
    if not wait_for(90, lambda: int(device.ask(f"grep -c '{text}' /run/host.log") or 0) >= count):
        raise Failed(f'no "{text}": {device.ask("cat /run/host.log")}')


def await_launches(device: Device, count: int) -> None:
    await_log(device, "Launch process recorder successfully")
    await_log(device, "Launch process streamer successfully", count)


def first_install(device: Device, release: Release) -> None:
    await_launches(device, 1)


def upgrade(device: Device, release: Release) -> None:
    await_launches(device, 1)
    release.publish("1.1.0")
    await_launches(device, 2)


def rollback(device: Device, release: Release) -> None:
    """From a release that never sends a heartbeat."""
    await_launches(device, 1)
    release.publish("1.2.0")
    await_log(device, "Process streamer rollback to version 1.0.0")
    release.publish("1.0.0")
    await_launches(device, 3)


@dataclass(frozen=True)
class Update:
    """Plays on a device whose host was just started; it ends with streamer `version`."""

    play: Callable[[Device, Release], None]
    version: str


UPDATES = [Update(first_install, "1.0.0"), Update(upgrade, "1.1.0"), Update(rollback, "1.0.0")]


@dataclass(frozen=True)
class Recording:
    """Of the update `update`, from the disk `base` to the disk `end`."""

    name: str
    update: Update
    base: bytes
    writes: list[Write]
    end: bytes


def record(update: Update, name: str, base: bytes, release: Release, folder: Path) -> Recording:
    release.publish("1.0.0")
    release.cloud.copy_label("latest", "lastknowngood")
    disk, log = folder / "disk.img", folder / "writes.log"
    disk.write_bytes(base)
    log.write_bytes(b"")
    drive = (f"driver=blklogwrites,file.driver=file,file.filename={disk},"
             f"log.driver=file,log.filename={log},log-sector-size=512")
    with Machine("--disk", drive) as machine:
        ca = (release.cloud.certs / "ca.pem").read_text()
        machine.device.run("cat >/tmp/cacert.pem", ca)
        machine.device.run(f"{WRITE_SOON}; {START_HOST}")
        update.play(machine.device, release)
        machine.device.run("sleep 1; sync; pkill -9 -x 'tolvar-host|streamer|recorder'; sleep 0.2; "
                           "for place in /media/mmc /opt /etc/config /flash; do "
                           "! grep -q \" $place \" /proc/mounts || umount $place; done")
    return Recording(name, update, base, read_log(log, CARD_FROM), disk.read_bytes())


def prepare() -> Release:
    components = FOLDER / "components"
    release = Release(Cloud(BUILD / "tools/cloud/tolvar-cloud", FOLDER), components)
    make_components(components)
    release.cloud.serve()
    return release
