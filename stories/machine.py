"""The emulated machine as a device of a story, which runs beside it: see device/machine."""

import os
from pathlib import Path

from stories.device import Device

EXAMPLES = Path("build/mipsel/examples")
LIBRARIES = "/usr/lib/tolvar"
HOST = f"LD_LIBRARY_PATH={LIBRARIES} {LIBRARIES}/tolvar-host {LIBRARIES}/libtolvar.so"


def device_of(folder: Path) -> Device:
    """The machine whose folder it is."""
    return Device(("ssh", "-F", str(folder / "ssh"), "-o", "BatchMode=yes", "machine"), pace=3)


def here() -> Device:
    """The machine that the story was started beside."""
    return device_of(Path(os.environ["TOLVAR_MACHINE"]))
