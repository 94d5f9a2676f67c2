"""What the plug-in takes: size on the target; memory, threads, system calls and CPU of an idle
host; memory that is kept after an update. footprint [SECONDS], 60 unless given, the time that CPU
is taken over; on the bench device."""

import json
import os
import re
import subprocess
import sys
import time
from pathlib import Path

from stories.cloud import run
from stories.device import Failed
from stories.measure import BULK, cpu_ns, publish_bulk, spread, status_kb
from stories.terminal import print_table, progress
from stories.world import BUILD, World

Row = list[str]

BENCH = BUILD / "bench"
URL = "https://cloud.test:8443"
TURNS = 7
BODY_MIB = 16


def size() -> list[Row]:
    stripped = Path("/run/stripped.so")
    run(["mipsel-linux-gnu-strip", "-o", stripped, "build/mipsel/libtolvar.so"])
    needed = re.findall(r"NEEDED.*\[(.*)\]", run(["mipsel-linux-gnu-readelf", "-d", stripped]))
    return [["stripped size for MIPS", f"{stripped.stat().st_size} bytes"],
            ["needs", " ".join(needed)]]


def baseline(field: str, *urls: str) -> int:
    """In kB, of a host that used the three libraries for `urls`."""
    with subprocess.Popen([BENCH / "baseline_host", *urls], stdout=subprocess.PIPE) as process:
        assert process.stdout is not None
        if process.stdout.readline() != b"idle\n":
            raise Failed("the baseline could not be taken")
        taken = status_kb(process.pid, field)
        process.kill()
    return taken


def start_host(world: World, until: str) -> int:
    """Its process ID, some seconds after the line `until`."""
    progress(f"waiting for: {until}")
    mark = len(world.host.lines)
    world.host.start()
    world.host.expect(until, mark, 60)
    time.sleep(2)
    return world.host.pid


def start_idle(world: World, count: int) -> int:
    """With processes that are started by nothing and not judged for a day."""
    processes = [{"processname": f"idle-{i}", "version": "1", "entrypoint": ": &",
                  "maxstartuptime": 86400, "components": []} for i in range(count)]
    manifest = world.cloud.releases / "latest/manifest.json"
    manifest.parent.mkdir(exist_ok=True)
    manifest.write_text(json.dumps({"data": {"processes": processes}}))
    return start_host(world, f"Launch process idle-{count - 1} successfully")


def memory(world: World, count: int) -> list[Row]:
    dirty = status_kb(start_idle(world, count), "Private_Dirty")
    world.host.end("TERM")
    return [[f"dirty private memory, {count} processes", f"{dirty} kB"],
            ["of it beyond a host that used the libraries once",
             f"{dirty - baseline('Private_Dirty', f'{URL}/none')} kB"]]


def kept(world: World) -> list[Row]:
    """What an update of two files leaves behind, and what the same transfers leave without the
    plug-in."""
    idle = status_kb(start_idle(world, 1), "Anonymous")
    world.host.end("TERM")
    urls = publish_bulk(world, 2, BODY_MIB)
    updated = status_kb(start_host(world, BULK), "Anonymous")
    world.host.end("TERM")
    bare = baseline("Anonymous", *urls) - baseline("Anonymous", f"{URL}/none")
    what = f"memory kept after two files of {BODY_MIB} MiB"
    return [[f"{what}, plug-in", f"{updated - idle} kB"],
            [f"{what}, bare imitation", f"{bare} kB"]]


def passes(world: World) -> list[Row]:
    pid = start_idle(world, 100)
    threads = len(os.listdir(f"/proc/{pid}/task")) - 1
    calls = world.device.ask(
        f"timeout 10 strace -f -c -U calls,name -o /run/calls -p {pid}; tail -n 1 /run/calls")
    world.host.end("TERM")
    return [["threads of the supervisor", str(threads)],
            ["system calls of both in an idle second", f"{int(calls.split()[0]) / 10:.1f}"]]


def idle_cpu(world: World, seconds: float) -> list[Row]:
    """Of the host and of a bare receiver at the same time, each with heartbeats of its own: they
    are sent to one name, so the other receiver needs a network namespace of its own. Both receive
    on one processor and are sent to from another: else it is luck which is woken up cheaply."""
    load = f"exec taskset -c 1 {BENCH}/heartbeat_load idle- 100"
    bare = f"taskset -c 0 {BENCH}/heartbeat_floor & sleep 0.2; {load}"
    host = start_idle(world, 100)
    world.device.run(f"taskset -apc 0 {host}")
    loads = [subprocess.Popen(command, process_group=0)
             for command in (["sh", "-c", load], ["unshare", "--net", "sh", "-c", bare])]
    time.sleep(2)
    floor = world.pid("heartbeat_floor")
    ratios: list[float] = []
    for turn in range(TURNS):
        progress(f"CPU of an idle host, turn {turn + 1} of {TURNS}")
        before = cpu_ns(host), cpu_ns(floor)
        time.sleep(seconds / TURNS)
        ratios.append((cpu_ns(host) - before[0]) / (cpu_ns(floor) - before[1]))
    for process in loads:
        os.killpg(process.pid, 9)
    world.host.end("TERM")
    return [["CPU, 100 heartbeats a second / of a bare receiver of them", spread(ratios)]]


def main(seconds: float = 60) -> None:
    world = World()
    world.cloud.serve()
    print_table([["what", "figure"], *size(), *memory(world, 10), *memory(world, 100),
                 *passes(world), *kept(world), *idle_cpu(world, seconds)])


if __name__ == "__main__":
    main(*(float(word) for word in sys.argv[1:]))
