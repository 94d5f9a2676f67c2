"""Requests a second of the stand-in and of nginx as in the examples over one folder, in turns,
on the bench device: cloud_load [TURNS [SECONDS]], 5 turns of 3 s unless given. Each request has a
connection of its own, as a device's has."""

import re
import shutil
import sys
from pathlib import Path
from statistics import median

from stories.cloud import answers
from stories.device import Failed, wait_for
from stories.measure import spread
from stories.terminal import print_table, progress
from stories.world import FOLDER, World

PORTS = {"stand-in": 8443, "nginx": 8444}
IDENTITY = '"mac":"0a1b2c3d4e5f","enr":"T","sc":"S","sv":"S","ts":"1"'
LIST = f'{{{IDENTITY},"version":"latest","processname":""}}'
PLACE = f'{{{IDENTITY},"processname":"streamer","filename":"streamer","version":"1.0.0"}}'
# What is asked for, and by which path and body; without a body it is a GET.
REQUESTS = {
    "get_processes": ("/device/process/get_processes", LIST),
    "get_download_location": ("/device/process/get_download_location", PLACE),
    "a file": ("/files/streamer/1.0.0", ""),
}


def start_nginx(world: World, port: int) -> None:
    """With the example's configuration, its places and port changed."""
    folder = FOLDER / "nginx"
    folder.mkdir()
    shutil.copy("examples/nginx/cloud.js", folder)
    for file in ["server.pem", "server.key"]:
        shutil.copy(world.cloud.certs / file, folder)
    settings = Path("examples/nginx/nginx.conf").read_text()
    for place, ours in [("/etc/nginx/tolvar", folder), ("/srv/releases", world.cloud.releases),
                        ("8443", port)]:
        settings = settings.replace(place, str(ours))
    (folder / "nginx.conf").write_text(settings)
    # The bench device has no other user.
    world.device.run(f"nginx -p {folder} -c {folder}/nginx.conf "
                     f"-g 'user root root; pid {folder}/pid;' 2>{folder}/log")
    if not wait_for(5, lambda: answers(port)):
        raise Failed((folder / "log").read_text())


def rate(world: World, port: int, path: str, body: str, seconds: int) -> float:
    """Of answers with status 200, from 8 clients at once."""
    post = f"wrk.method = 'POST'\nwrk.body = '{body}'\n" if body else ""
    script = FOLDER / "wrk.lua"
    script.write_text(f"{post}wrk.headers['Connection'] = 'close'\n")
    url = f"https://cloud.test:{port}{path}"
    said = world.device.run(f"wrk -t 1 -c 8 -d {seconds} -s {script} {url}")
    if "Non-2xx" in said or "Socket errors" in said:
        raise Failed(said)
    return float(re.findall(r"Requests/sec: +([0-9.]+)", said)[0])


def main(turns: int = 5, seconds: int = 3) -> None:
    world = World()
    world.publish("streamer", "1.0.0")
    world.cloud.serve(PORTS["stand-in"])
    start_nginx(world, PORTS["nginx"])
    rows = [["requests a second", "stand-in", "nginx", "nginx / stand-in"]]
    for name, (path, body) in REQUESTS.items():
        rates: dict[str, list[float]] = {server: [] for server in PORTS}
        for turn in range(turns):
            progress(f"{name}, turn {turn + 1} of {turns}")
            for server, port in PORTS.items():
                rates[server].append(rate(world, port, path, body, seconds))
        ratios = [ours / theirs for ours, theirs in zip(rates["nginx"], rates["stand-in"])]
        rows.append([name, *(f"{median(rates[server]):.0f}" for server in PORTS), spread(ratios)])
    print_table(rows, right=[1, 2])


if __name__ == "__main__":
    main(*(int(word) for word in sys.argv[1:]))
