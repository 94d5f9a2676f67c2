#!/usr/bin/env python3
"""`tolvar check` as it is called, and its rules as the documents have them.

command_test.py SOURCE SCRATCH TOOL...
"""

import json
import pathlib
import subprocess
import sys
import unittest

SOURCE, SCRATCH = map(pathlib.Path, sys.argv[1:3])
TOOL = sys.argv[3:]
HELLO = "5d41402abc4b2a76b9719d911017c592"


def check(*arguments):
    done = subprocess.run([*TOOL, "check", *arguments], capture_output=True, text=True, check=False)
    return done.returncode, done.stdout + done.stderr


def manifest(path, **changes):
    """One process with one file, and what differs from a good one."""
    component = {"filename": "cam", "localpath": "/opt/cam/cam", "version": "1", "checksum": HELLO}
    process = {"processname": "cam", "version": "1", "components": [component],
               "entrypoint": "chmod +x /opt/cam/cam; /opt/cam/cam >/run/cam 2>&1 </dev/null &"}
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(json.dumps({"data": {"processes": [{**process, **changes}]}}))
    return path


class CheckTest(unittest.TestCase):
    def setUp(self):
        self.root = SCRATCH / "root"
        self.good = manifest(SCRATCH / "good.json")
        self.slow = manifest(SCRATCH / "slow.json", maxstartuptime=1)
        self.bad = manifest(SCRATCH / "bad.json", maxretries=0)
        for label in ["latest", "lastknowngood"]:
            manifest(self.root / label / "manifest.json")
        file = self.root / "files/cam/1"
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("hello")

    def expect(self, status, text, *arguments):
        found = check(*arguments)
        self.assertEqual(found[0], status, found)
        self.assertIn(text, found[1])

    def test_status_tells_errors_from_warnings(self):
        self.expect(0, "0 errors, 0 warnings", self.good)
        self.expect(0, "warning 403 /data/processes/0/maxstartuptime", self.slow)
        self.expect(1, "0 errors, 1 warnings", "--strict", self.slow)
        self.expect(1, "error 401 /data/processes/0/maxretries", self.bad)
        self.expect(1, "cure: give 1 or more", self.bad)
        self.expect(1, "cannot read", SCRATCH / "none.json")
        self.expect(1, "no such root", "--root", SCRATCH / "none")
        self.expect(1, "cannot read", "--root", self.root, "--label", "beta")
        self.expect(2, "required")
        self.expect(2, "--rate", "--rate", "0", self.good)
        self.expect(2, "excludes", "--config", self.good, "--root", self.root)

    def test_a_folder_is_judged_with_its_files(self):
        self.expect(0, "0 errors, 0 warnings", "--root", self.root, "--strict")
        (self.root / "files/cam/1").write_text("hullo")
        self.expect(1, "error 603 lastknowngood /data/processes/0", "--root", self.root)
        self.expect(1, "1 errors", "--root", self.root, "--label", "latest")

    def test_a_manifest_is_judged_as_what_a_label_is_to_list(self):
        beside = ["--root", self.root, "--label", "latest"]
        self.expect(0, "0 errors, 0 warnings", self.good, *beside)
        self.expect(1, "error 701 /data/processes/0/version", self.slow, *beside)
        self.expect(0, "0 errors", self.good, *beside, "--rate", "1", "--memory", "10")
        self.expect(1, "error 802", self.good, *beside, "--memory", "1")

    def test_a_configuration_is_judged(self):
        settings = SCRATCH / "config"
        settings.write_text("bootstrap_interval=60\nmax_heartbeat_intervall=6\n")
        self.expect(0, "warning 901 line 2", "--config", settings)
        settings.write_text("max_heartbeat_interval=0\n")
        self.expect(1, "error 903", "--config", settings)
        self.expect(0, "0 errors, 0 warnings", "--config", SOURCE / "docs/tolvar_config.sample")

    def test_a_program_can_read_the_findings(self):
        status, text = check("--json", self.bad)
        found = json.loads(text)
        self.assertEqual((status, found["errors"], found["warnings"]), (1, 1, 0))
        self.assertEqual(
            found["findings"][0],
            {"rule": 401, "severity": "error", "document": "",
             "place": "/data/processes/0/maxretries", "detail": "", "cure": "give 1 or more",
             "sentence": found["findings"][0]["sentence"]})

    def test_the_documents_have_the_rules_as_they_are(self):
        page = (SOURCE / "docs/releases.md").read_text()
        rules = check("--rules")[1]
        self.assertTrue(page.endswith(rules),
                        "replace the section Rules of docs/releases.md by tolvar check --rules")


class OnTheTargetTest(unittest.TestCase):
    def test_the_check_is_left_out(self):
        status, text = check("--rules")
        self.assertEqual(status, 2, text)


if __name__ == "__main__":
    SCRATCH.mkdir(parents=True, exist_ok=True)
    unittest.main(argv=sys.argv[:1], verbosity=2,
                  defaultTest="OnTheTargetTest" if "qemu" in TOOL[0] else "CheckTest")
