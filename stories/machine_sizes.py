"""Components of growing size on the emulated machine, onto the flash and into memory: which are
installed, what becomes of the others and of the host; and what an update costs against the device's
own curl and md5sum. Beside device/machine; see scripts/machine-sizes."""

import os
import re
import sys

from stories import machine
from stories.device import Device, Failed
from stories.terminal import print_table, progress, say
from stories.world import FOLDER, World

SIZES = [1, 8, 16, 20, 24, 32, 40]  # MiB
PLACES = {"flash": "/opt/bulk", "tmpfs": "/run/bulk"}
SETTLED = "Launch process bulk "
TURNS = 3


def publish(world: World, mib: int, place: str) -> str:
    """Where it is served; a new version each time."""
    source, version = FOLDER / "bulk", os.urandom(4).hex()
    source.write_bytes(os.urandom(mib << 20))
    world.cloud.change("publish", "--label", "latest", "--process", "bulk", "--version", version,
                       "--maxretries", "1", "--entrypoint", ": &",
                       "--component", f"{source},bulk,{place}")
    return f"https://cloud.test:8443/files/bulk/{version}"


def available_mib(device: Device) -> str:
    device.run("sync; echo 3 >/proc/sys/vm/drop_caches")
    return f"{int(device.run('sed -n s/[^0-9]*//gp /proc/meminfo | sed -n 3p')) / 1024:.1f}"


def peak_mib(world: World) -> str:
    found = re.search(r"VmHWM:\s*(\d+)", world.device.ask(f"cat /proc/{world.host.pid}/status"))
    return f"{int(found[1]) / 1024:.1f}" if found else ""


def install(world: World, mib: int, where: str) -> list[str]:
    """Of a host of its own, whose peak is the download's."""
    available = available_mib(world.device)
    publish(world, mib, PLACES[where])
    mark = len(world.host.lines)
    world.host.start()
    try:
        line = world.host.lines[world.host.expect(SETTLED, mark, 300)].split(" ", 1)[1]
        outcome = "installed" if "unsuccessfully" not in line else "refused"
        if outcome == "refused":
            world.host.expect("Rollback process bulk", mark, 60)
            outcome += ", rollback asked for"
    except Failed:
        outcome = "no end within the time"
    said = [line for line in world.host.lines[mark:] if "Curl return code" in line]
    peak = peak_mib(world)
    world.host.end("TERM")
    world.device.run(f"rm -f {PLACES[where]}*")
    return [f"{mib} MiB", where, available, outcome, said[0].split(" ", 1)[1] if said else "",
            f"lives, peak {peak}" if peak else "KILLED"]


def seconds(text: str) -> float:
    """User and system time of BusyBox's `time`."""
    return sum(int(minutes) * 60 + float(rest) for minutes, rest in
               re.findall(r"(?:user|sys)\s+(\d+)m ([\d.]+)s", text))


def cost(world: World, mib: int) -> list[str]:
    url = publish(world, mib, PLACES["flash"])
    plain = seconds(world.device.run(
        f"{{ time sh -c 'curl -s --fail --cacert /tmp/cacert.pem -o /opt/plain {url} && "
        "md5sum /opt/plain'; } 2>&1"))
    world.device.run("rm /opt/plain")
    mark = len(world.host.lines)
    world.host.start()
    world.host.expect("Got 1 processes", mark, 60)
    ticks = f"awk '{{ print $14 + $15 }}' /proc/{world.host.pid}/stat"
    before = int(world.device.run(ticks))
    world.host.expect(f"{SETTLED}successfully", mark, 300)
    update = (int(world.device.run(ticks)) - before) / 100
    world.host.end("TERM")
    world.device.run(f"rm -f {PLACES['flash']}")
    return [f"{mib} MiB", f"{update:.2f} s", f"{plain:.2f} s", f"{update / plain:.2f}"]


def main(*sizes: int) -> int:
    world = World("", machine.HOST, machine.here(), machine.EXAMPLES)
    world.cloud.serve()
    world.device.run("mount -o remount,size=90% /run")
    rows = [["component", "into", "available (MiB)", "outcome", "said", "host (MiB)"]]
    for where in PLACES:
        for mib in sizes or SIZES:
            progress(f"{mib} MiB into {where}")
            rows.append(install(world, mib, where))
            say("  ".join(rows[-1]))
    costs = [["update of", "CPU", "curl, md5sum", "ratio"]]
    costs += [cost(world, 16) for _ in range(TURNS)]
    print_table(rows, right=[0, 2])
    print_table(costs, right=range(4))
    return 1 if any(row[-1] == "KILLED" for row in rows) else 0


if __name__ == "__main__":
    sys.exit(main(*map(int, sys.argv[1:])))
