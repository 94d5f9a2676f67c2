#!/usr/bin/env python3
"""Breaks a device in every way that `tolvar doctor` looks for, and puts it right again.

doctor_test.py TOOL PLUG-IN CLOCK CA-FILE HOST..., on the bench device; CLOCK is the library that
sets a clock, HOST and maybe an emulator in front of it what runs the plug-in.
"""

import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import termios
import time
import unittest
from typing import NamedTuple

tool, plug_in, clock_library, ca_file, *host = sys.argv[1:]
host[0] = shutil.which(host[0])  # one test leaves no PATH to find it by
emulator = host[:-1]
with open(tool, "rb") as binary:
    is_32_bit = binary.read(5)[4] == 1

MANIFEST = "/run/manifest.json"
BIG_FILE = "/opt/app/big"
BEFORE_THE_BUILD = 1_000_000_000
IN_2037 = 2_114_380_800
IN_2040 = 2_208_988_800


class Row(NamedTuple):
    name: str
    check: str
    broken_by: str
    level: str
    says: str
    mended_by: str


def shadow(command, body):
    """Has the device find another `command` first, a shell script."""
    return f"printf '#!/bin/bash\\n%s\\n' '{body}' >/run/tools/{command}; chmod +x /run/tools/{command}"


def certificate(start, end):
    """Makes one of its own, valid between the two, the CA file."""
    return f"""openssl ca -batch -selfsign -config /run/ca.conf -keyfile /run/key -in /run/request \
        -startdate {start} -enddate {end} -notext -out /tmp/cacert.pem"""


CA_SETTINGS = """[ca]
default_ca = own
[own]
database = /run/index
new_certs_dir = /run
default_md = sha256
policy = any
unique_subject = no
rand_serial = yes
[any]
commonName = supplied
"""
EXPIRED = certificate("20200101000000Z", "20210101000000Z")
OF_THE_FUTURE = certificate("20900101000000Z", "20910101000000Z")
IN_NINE_DAYS = time.strftime("%Y%m%d%H%M%SZ", time.gmtime(time.time() + 9 * 86400))
ABOUT_TO_END = certificate("20200101000000Z", IN_NINE_DAYS)
SHELL = "$(readlink -f /bin/sh)"
TOKEN_FILE = "/etc/config/.user_config"
KEEP_TOKEN = f"cp {TOKEN_FILE} /run/token"
GOOD_TOKEN = f"cp /run/token {TOKEN_FILE}"
GOOD_CA = f"cp {ca_file} /tmp/cacert.pem"
CONFIG = "/etc/config/.tolvar_config"
NO_CONFIG = f"rm -rf {CONFIG}"
CARD = "mount -t tmpfs -o size=64m card /media/mmc"
NO_CARD = "umount /media/mmc"

# fmt: off
# "none": otherwise mount would give back options that it finds listed, such as the mount's owner, who
# has no number on the device of an ordinary user.
ROWS = [
    Row("the shell is none", "shell", f"mount --bind /bin/false {SHELL}", "bad", "does not run command lines", f"umount {SHELL}"),
    Row("pkill is missing", "pkill", shadow("pkill", "exit 127"), "bad", "does not kill", "rm /run/tools/pkill"),
    Row("pkill looks at command lines", "pkill", shadow("pkill", "exec /usr/bin/pkill -f $@"), "bad", "does not kill", "rm /run/tools/pkill"),
    Row("pkill takes whole names only", "pkill", shadow("pkill", "exec /usr/bin/pkill -x $@"), "warning", "whole command name only", "rm /run/tools/pkill"),
    Row("cp knows no -a", "cp", shadow("cp", "exit 1"), "bad", "copies nothing", "rm /run/tools/cp"),
    Row("cp loses modes", "cp", shadow("cp", "exec /bin/cp --no-preserve=mode $2 $3"), "bad", "does not keep", "rm /run/tools/cp"),
    Row("rm does nothing", "rm", shadow("rm", "exit 0"), "warning", "removes nothing", "/bin/rm /run/tools/rm"),
    Row("/tmp is read-only", "cp", "mount -o remount,ro none /tmp", "warning", "could not be tried", "mount -o remount,rw none /tmp"),
    Row("the interface is down", "wlan0", "ip link set wlan0 down", "bad", "down", "ip link set wlan0 up"),
    Row("the interface has another name", "wlan0", "ip link set wlan0 name wlan1", "bad", "no such interface", "ip link set wlan1 name wlan0"),
    Row("the interface is not Ethernet", "wlan0", "ip link set wlan0 name wlan1 && ip link set lo name wlan0", "bad", "without an Ethernet address", "ip link set wlan0 name lo && ip link set wlan1 name wlan0"),
    Row("no file with a token", "token", f"{KEEP_TOKEN}; rm {TOKEN_FILE}", "bad", "no file that can be read", GOOD_TOKEN),
    Row("no token in the file", "token", f"{KEEP_TOKEN}; echo R_ENCR=A >{TOKEN_FILE}", "bad", "no line with", GOOD_TOKEN),
    Row("an empty token", "token", f"{KEEP_TOKEN}; echo r_encr= >{TOKEN_FILE}", "bad", "empty token", GOOD_TOKEN),
    Row("a carriage return behind the token", "token", f"{KEEP_TOKEN}; printf 'r_encr=A\\r\\n' >{TOKEN_FILE}", "bad", "control character", GOOD_TOKEN),
    Row("no CA file", "certificates", "rm /tmp/cacert.pem", "bad", "not there", GOOD_CA),
    Row("an empty CA file", "certificates", ": >/tmp/cacert.pem", "bad", "cannot be loaded", GOOD_CA),
    Row("a cut certificate", "certificates", f"head -c 300 {ca_file} >/tmp/cacert.pem", "bad", "cannot be loaded", GOOD_CA),
    Row("an expired certificate", "certificates", EXPIRED, "bad", "1 over and 0 not yet begun", GOOD_CA),
    Row("a certificate of the future", "certificates", OF_THE_FUTURE, "bad", "0 over and 1 not yet begun", GOOD_CA),
    Row("an expired one among good ones", "certificates", f"{EXPIRED}; cat {ca_file} >>/tmp/cacert.pem", "warning", "of 2 certificates some", GOOD_CA),
    Row("a certificate about to end", "certificates", ABOUT_TO_END, "warning", "1 valid, the first until", GOOD_CA),
    Row("a misspelt key", "configuration", f"echo bootstrap_intervall=60 >{CONFIG}", "warning", '"bootstrap_intervall=60" is not known', NO_CONFIG),
    Row("a blank before the sign", "configuration", f"echo bootstrap_interval =60 >{CONFIG}", "warning", "is not known", NO_CONFIG),
    Row("words behind the number", "configuration", f"echo bootstrap_interval=60 minutes >{CONFIG}", "warning", 'is taken as bootstrap_interval=60', NO_CONFIG),
    Row("a fetch in every pass", "configuration", f"echo bootstrap_interval=never >{CONFIG}", "bad", "asked in every pass", NO_CONFIG),
    Row("no fetch at all", "configuration", f"echo bootstrap_interval=-1 >{CONFIG}", "bad", "never asked again", NO_CONFIG),
    Row("a failure each second", "configuration", f"echo max_heartbeat_interval=0 >{CONFIG}", "bad", "a second old", NO_CONFIG),
    Row("no report", "configuration", f"echo metrics_report_interval=9999999999 >{CONFIG}", "warning", "never a report", NO_CONFIG),
    Row("a later line is wrong", "configuration", f"printf '%s\\n' '# ours' '' bootstrap_interval=60 bootstrap_interval=0 >{CONFIG}", "bad", "asked in every pass", NO_CONFIG),
    Row("a thousand lines of rubbish", "configuration", f"head -c 100000 /dev/urandom >{CONFIG}", "warning", "; ...", NO_CONFIG),
    Row("a folder instead of the file", "configuration", f"mkdir {CONFIG}", "warning", "is no file", NO_CONFIG),
    Row("a folder of the flash", "card", NO_CARD, "warning", "counts as one", CARD),
    Row("a read-only card", "card", "mount -o remount,ro none /media/mmc", "warning", "read-only", "mount -o remount,rw none /media/mmc"),
    Row("a full card", "card", "head -c 60M /dev/zero >/media/mmc/full", "warning", "no room", "rm /media/mmc/full"),
    Row("read-only flash", "room", "mount -o remount,ro none /opt/app", "bad", "nothing can be written", "mount -o remount,rw none /opt/app"),
    Row("full flash", "room", "head -c 60M /dev/zero >/opt/app/full", "bad", f"{BIG_FILE} takes 20.9 MB", "rm /opt/app/full"),
    Row("no manifest", "room", f"mv {MANIFEST} /run/m", "bad", "is not there or no manifest", f"mv /run/m {MANIFEST}"),
    Row("a folder for a manifest", "room", f"mv {MANIFEST} /run/m; mkdir {MANIFEST}", "bad", "is not there or no manifest", f"rmdir {MANIFEST}; mv /run/m {MANIFEST}"),
    # 20.9 MB twice, since the flash is in memory here, and 9 MB for the host.
    Row("little memory", "memory", "echo 'MemAvailable: 49000 kB' >/run/m; mount --bind /run/m /proc/meminfo", "bad", "into memory takes 50.9 MB", "umount /proc/meminfo"),
    Row("no size known", "memory", f"mv {BIG_FILE} /run/big", "warning", "none of the manifest's files", f"mv /run/big {BIG_FILE}"),
    Row("no manifest for the memory", "memory", f"mv {MANIFEST} /run/m", "bad", "is not there or no manifest", f"mv /run/m {MANIFEST}"),
]
# fmt: on


def run(command_line):
    done = subprocess.run(["bash", "-c", command_line], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{command_line}: {done.stderr}")


def doctor(*options, prefix=(), **environment):
    """The status and what is printed."""
    path = "/run/tools:" + os.environ["PATH"]
    done = subprocess.run(
        [*prefix, *emulator, tool, "doctor", *options],
        env={**os.environ, "PATH": path, **environment},
        stdout=subprocess.PIPE,
        text=True,
        check=False,
    )
    return done.returncode, done.stdout


def findings(*options, prefix=(), **environment):
    """By name of check what it found."""
    options = ["--json", "--manifest", MANIFEST, *options]
    status, text = doctor(*options, prefix=prefix, **environment)
    report = json.loads(text)
    found = {check["name"]: check for check in report["checks"]}
    bad = [check for check in report["checks"] if check["level"] == "bad"]
    if (status, report["bad"]) != (1 if bad else 0, len(bad)):
        raise AssertionError(f"status {status} with {bad}")
    return found


class DoctorTest(unittest.TestCase):
    maxDiff = None

    def expect(self, found, check, level, says):
        self.assertEqual(found[check]["level"], level, found[check])
        self.assertIn(says, found[check]["found"])
        self.assertEqual(bool(found[check]["cure"]), level in ("bad", "warning"), found[check])

    def expect_health(self):
        levels = {name: check["level"] for name, check in findings().items()}
        unwell = {name: level for name, level in levels.items() if level != "ok"}
        self.assertEqual(unwell, {"sigchld": "skipped"})

    def test_each_fault_is_found_and_its_cure_helps(self):
        self.expect_health()
        for row in ROWS:
            with self.subTest(row.name):
                run(row.broken_by)
                try:
                    self.expect(findings(), row.check, row.level, row.says)
                finally:
                    run(row.mended_by)
                self.expect_health()

    def test_a_device_without_a_card_is_well(self):
        run(f"{NO_CARD}; rmdir /media/mmc")
        self.expect(findings(), "card", "ok", "no /media/mmc/")
        run(f"mkdir /media/mmc; {CARD}")

    def test_a_good_configuration_is_told_as_it_is_stored(self):
        run(f"printf 'bootstrap_interval=60\\r\\n# a remark\\n\\n' >{CONFIG}")
        self.expect(findings(), "configuration", "ok", "fetch every 60 s, heartbeat limit 5 s")
        run(NO_CONFIG)

    def findings_at(self, second):
        """With the wall clock at `second`."""
        preload = f"LD_PRELOAD={clock_library}"
        if emulator:
            settings = {"QEMU_SET_ENV": f"{preload},CLOCK_AT_SEC={second}"}
        else:
            settings = {"LD_PRELOAD": clock_library, "CLOCK_AT_SEC": str(second)}
        return findings(ASAN_OPTIONS="verify_asan_link_order=0:detect_leaks=0", **settings)

    def test_the_clock_must_lie_between_the_build_and_the_end_of_time(self):
        self.expect(self.findings_at(BEFORE_THE_BUILD), "clock", "bad", "before this was built")
        if is_32_bit:
            self.expect(self.findings_at(IN_2037), "clock", "ok", "2037-01-01")
            self.expect(self.findings_at(IN_2040), "clock", "bad", "past what 32-bit libraries")
        else:
            self.expect(self.findings_at(IN_2040), "clock", "ok", "2040-01-01")

    def test_who_receives_the_heartbeats_is_named(self):
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as other:
            other.bind(b"\0AppHeartbeat")  # too short: another name
            self.expect(findings(), "heartbeats", "ok", "free")
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as other:
            other.bind(b"\0AppHeartbeat".ljust(108, b"\0"))
            self.expect(findings(), "heartbeats", "bad", f"(process {os.getpid()})")
            powerless = findings(prefix=["setpriv", "--bounding-set=-all", "--inh-caps=-all"])
            self.expect(powerless, "heartbeats", "warning", "cannot be seen by whom")
        self.expect(findings(), "heartbeats", "ok", "free")

    def test_a_running_supervisor_is_seen_with_its_sigchld(self):
        with subprocess.Popen([*host, plug_in], stdout=subprocess.DEVNULL) as supervisor:
            deadline = time.monotonic() + 10
            while findings()["sigchld"]["level"] == "skipped" and time.monotonic() < deadline:
                time.sleep(0.05)
            found = findings()
            self.expect(found, "heartbeats", "ok", f"(process {supervisor.pid})")
            self.expect(found, "sigchld", "ok", f"(process {supervisor.pid})")
            supervisor.terminate()

    def test_a_host_that_ignores_sigchld_is_found(self):
        ignoring = "trap '' CHLD; echo; exec sleep 60"
        with subprocess.Popen(["bash", "-c", ignoring], stdout=subprocess.PIPE) as process:
            process.stdout.readline()
            # The emulator shows this machine's processes, where the signal has another number.
            if not emulator:
                self.expect(findings("--host", str(process.pid)), "sigchld", "bad", "ignored by")
            self.expect(findings("--host", str(os.getpid())), "sigchld", "ok", "not ignored")
            process.kill()
        self.expect(findings("--host", "99999"), "sigchld", "bad", "not there")

    def test_a_host_that_ignores_sigchld_can_start_it(self):
        before = signal.signal(signal.SIGCHLD, signal.SIG_IGN)
        _, text = doctor(prefix=["setsid", "--wait"])
        signal.signal(signal.SIGCHLD, before)
        self.assertNotIn("bad", text.splitlines()[0])

    def test_a_device_without_anything_gets_an_answer_to_everything(self):
        empty = """for place in /tmp /etc /run /media /proc; do
            mount -t tmpfs -o ro none $place || exit 1; done; PATH= exec "$@" """
        status, text = doctor("--json", prefix=["unshare", "-m", "bash", "-c", empty, "_"])
        found = {check["name"]: check["level"] for check in json.loads(text)["checks"]}
        self.assertEqual(status, 1)
        self.assertEqual(
            [name for name, level in found.items() if level == "ok"],
            ["shell", "wlan0", "configuration", "clock", "card"],
        )

    def lines_on_a_terminal(self, **environment):
        """Of 60 columns."""
        ours, theirs = os.openpty()
        termios.tcsetwinsize(theirs, (24, 60))
        environment = {"PATH": os.environ["PATH"], **environment}
        subprocess.run([*emulator, tool, "doctor"], env=environment, stdout=theirs, check=False)
        os.close(theirs)
        with open(ours, "rb", buffering=0) as terminal:
            return terminal.read(10000).decode().splitlines()

    def test_each_check_is_a_line_that_only_a_terminal_colours_and_folds(self):
        _, plain = doctor()
        self.assertEqual(len(plain.splitlines()), len(findings()) + 1)
        self.assertNotIn("\x1b", plain)
        self.assertTrue(self.lines_on_a_terminal()[0].startswith("\x1b[32mok"))
        folded = self.lines_on_a_terminal(NO_COLOR="1")
        self.assertTrue(folded[0].startswith("ok "))
        self.assertGreater(len(folded), len(plain.splitlines()))
        self.assertEqual([line for line in folded if len(line) > 60], [])


def make_healthy_device():
    run(f"{GOOD_CA}; {CARD}; mkdir -p /run/tools {os.path.dirname(BIG_FILE)}")
    run("mount -t tmpfs -o size=64m flash /opt/app")
    run("""openssl req -new -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj /CN=test \
        -keyout /run/key -out /run/request; : >/run/index""")
    pathlib.Path("/run/ca.conf").write_text(CA_SETTINGS)
    run(f"truncate -s 20M {BIG_FILE}")
    component = {"filename": "big", "localpath": BIG_FILE, "version": "1", "checksum": "0" * 32}
    process = {"processname": "app", "version": "1", "entrypoint": ":", "components": [component]}
    pathlib.Path(MANIFEST).write_text(json.dumps({"data": {"processes": [process]}}))


if __name__ == "__main__":
    if "TOLVAR_BENCH" not in os.environ:
        sys.exit("run me through device/bench")
    make_healthy_device()
    unittest.main(argv=sys.argv[:1], verbosity=2)
