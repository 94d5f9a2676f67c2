"""The stand-in cloud: it runs beside the story, whatever the device is."""

import json
import socket
import subprocess
from collections.abc import Sequence
from pathlib import Path

from stories.device import Failed, wait_for


def run(command: Sequence[str | Path]) -> str:
    """What the command said; raises Failed with it when it fails."""
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    said = (done.stderr + done.stdout).strip()
    if done.returncode != 0:
        raise Failed(said or f"{command[0]}: status {done.returncode}")
    return said


def answers(port: int) -> bool:
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) == 0


class Cloud:
    """The release folder, and the servers of it. `folder` is for that, certificates and logs."""

    def __init__(self, program: Path, folder: Path) -> None:
        self.releases = folder / "releases"
        self.certs = folder / "certs"
        self._program = program
        self._servers: dict[int, subprocess.Popen[bytes]] = {}
        self.releases.mkdir(parents=True)
        run(["scripts/make-certs", self.certs, "cloud.test", "files.test"])

    def serve(self, port: int = 8443, *options: str) -> None:
        """Starts a server and returns once it answers."""
        command: list[str | Path] = [
            self._program, "serve", "--root", self.releases, "--port", str(port),
            "--cert", self.certs / "server.pem", "--key", self.certs / "server.key", *options]
        with open(self.certs / f"{port}.log", "ab") as log:
            self._servers[port] = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=log, stderr=log, process_group=0)
        if not wait_for(5, lambda: answers(port)):
            raise Failed(f"the cloud does not answer at port {port}")

    def end(self, port: int) -> None:
        self._servers[port].terminate()
        self._servers[port].wait()

    def change(self, command: str, *options: str) -> str:
        """publish, withdraw or copy-label: what the tool said."""
        return run([self._program, command, "--root", self.releases, *options])

    def copy_label(self, source: str, target: str) -> str:
        return self.change("copy-label", "--from", source, "--to", target)

    def withdraw(self, name: str) -> str:
        return self.change("withdraw", "--label", "latest", "--process", name)

    def listed(self) -> dict[str, str]:
        """Version by name of what "latest" lists."""
        manifest = json.loads((self.releases / "latest/manifest.json").read_text())
        return {process["processname"]: process["version"]
                for process in manifest["data"]["processes"]}
