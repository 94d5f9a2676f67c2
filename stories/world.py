"""What every story needs: a cloud, a host on the device, and applications of ours that it runs."""

from pathlib import Path

from stories.cloud import Cloud
from stories.device import Device, Failed
from stories.host import Host

BUILD = Path("build/release")
FOLDER = Path("/run/story")
REPORTS = FOLDER / "reports"
TOOL = BUILD / "tools/tolvar/tolvar"
BUSY_FILE = FOLDER / "busy"  # while it is there, streamer refuses to be upgraded

HOST = f"{BUILD}/tools/host/tolvar-host {BUILD}/libtolvar.so"
# That of the target, under the emulator.
TARGET_HOST = ("qemu-mipsel-static -L build/sysroot-mipsel build/mipsel/tools/host/tolvar-host "
               "build/mipsel/libtolvar.so")


def live_path(name: str, version: str) -> str:
    return f"/opt/{name}/{version}/{name}"


class World:
    """A cloud without servers yet, and a device without a host yet whose configuration is
    `settings`. The applications to publish are in `examples`."""

    def __init__(self, settings: str = "", host: str = HOST, device: Device = Device(),
                 examples: Path = BUILD / "examples") -> None:
        self.device = device
        self.cloud = Cloud(BUILD / "tools/cloud/tolvar-cloud", FOLDER)
        self.host = Host(device, f"env TOLVAR_METRICS_FILE={REPORTS} {host}", FOLDER / "host.log")
        self.examples = examples
        ca = (self.cloud.certs / "ca.pem").read_text()
        device.run(f"mkdir -p {FOLDER} && cat >/tmp/cacert.pem", ca)
        device.run("cat >/etc/config/.tolvar_config", settings)

    def publish(self, name: str, version: str, maxretries: int = 2) -> str:
        path = live_path(name, version)
        options = f" --busy-file {BUSY_FILE}" if name == "streamer" else ""
        return self.cloud.change(
            "publish", "--label", "latest", "--process", name, "--version", version,
            "--maxstartuptime", "2", "--maxretries", str(maxretries), "--entrypoint",
            f"chmod +x {path}; {path}{options} >>{FOLDER}/{name}.log 2>&1 </dev/null &",
            "--component", f"{self.examples}/{name}-{version},{name},{path}")

    def find(self, name: str) -> tuple[int, str]:
        """The ID of the process of that name and the path it was started from; else 0."""
        found = self.device.ask(f"pid=$(pgrep -x {name}) && echo $pid $(readlink /proc/$pid/exe)")
        pid, _, path = found.partition(" ")
        return int(pid or 0), path

    def pid(self, name: str) -> int:
        """Raises Failed where none runs."""
        pid, _ = self.find(name)
        if pid == 0:
            raise Failed(f"no {name} runs")
        return pid

    def runs(self, name: str, version: str, instead_of: int = 0) -> bool:
        """Whether it runs from the file of `version`, as another process than `instead_of`."""
        pid, path = self.find(name)
        return pid not in (0, instead_of) and path == live_path(name, version)

    def is_gone(self, name: str) -> bool:
        return self.find(name)[0] == 0
