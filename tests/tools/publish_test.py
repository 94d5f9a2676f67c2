#!/usr/bin/env python3
"""Kills `tolvar-cloud publish` at every system call, and has publishers come at once.

publish_test.py SCRATCH STEP CLOUD...: every STEPth system call; CLOUD, maybe with an emulator.
"""

import collections
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

SCRATCH = pathlib.Path(sys.argv[1])
STEP = int(sys.argv[2])
CLOUD = sys.argv[3:]
LABELS = ["lastknowngood", "latest"]
QUIET = {**os.environ, "ASAN_OPTIONS": "detect_leaks=0"}  # which cannot be traced


def publish(root, name, version, *, trace=(), label="latest"):
    path = f"/opt/{name}/{name}"
    return subprocess.run(
        [*trace, *CLOUD, "publish", "--root", root, "--label", label, "--process", name,
         "--version", version,
         "--entrypoint", f"chmod +x {path}; {path} >/run/{name} 2>&1 </dev/null &",
         "--component", f"{SCRATCH}/file-{version},{name},{path}"],
        env=QUIET, capture_output=True, text=True, check=False)


def manifests(root):
    return {label: (root / label / "manifest.json").read_bytes() for label in LABELS}


def faults(root):
    """Of what the labels list, the files that are not there as listed."""
    for label, text in manifests(root).items():
        for process in json.loads(text)["data"]["processes"]:
            for file in process["components"]:
                path = root / "files" / file["filename"] / file["version"]
                if hashlib.md5(path.read_bytes()).hexdigest() != file["checksum"]:
                    yield f"{label}: {path}"


def system_calls(root):
    """How often each is called by a publisher of version 2."""
    trace = SCRATCH / "trace"
    done = publish(root, "cam", "2", trace=["strace", "-qq", "-o", trace])
    assert done.returncode == 0, done.stderr
    return collections.Counter(re.findall(r"^(\w+)\(", trace.read_text(), re.M))


class PublishTest(unittest.TestCase):
    def setUp(self):
        shutil.rmtree(SCRATCH, ignore_errors=True)
        SCRATCH.mkdir(parents=True)
        for version in "123":
            (SCRATCH / f"file-{version}").write_text(f"content {version}")
        self.before = SCRATCH / "before"
        for label in LABELS:
            self.assertEqual(publish(self.before, "cam", "1", label=label).returncode, 0)

    def start_anew(self):
        root = SCRATCH / "root"
        shutil.rmtree(root, ignore_errors=True)
        return shutil.copytree(self.before, root)

    @unittest.skipUnless(shutil.which("strace"), "no strace")
    def test_a_kill_at_any_system_call_leaves_each_label_as_before_or_as_after(self):
        root = self.start_anew()
        calls = system_calls(root)
        before, after = manifests(self.before), manifests(root)
        self.assertNotEqual(before, after)
        kills = [(call, number) for call, count in sorted(calls.items())
                 for number in range(1, count + 1)][::STEP]
        outcomes = collections.Counter()
        for call, number in kills:
            root = self.start_anew()
            inject = ["strace", "-qq", "-o", "/dev/null", "-e",
                      f"inject={call}:signal=KILL:when={number}"]
            done = publish(root, "cam", "2", trace=inject)
            with self.subTest(call=call, number=number):
                # A last call may come once less often than before.
                self.assertIn(done.returncode, [-9, 137, 0], done.stderr)
                self.assertIn(manifests(root), [before, after])
                self.assertEqual(list(faults(root)), [])
            outcomes["killed" if done.returncode else "ended"] += 1
            outcomes["after" if manifests(root) == after else "before"] += 1
        print(len(kills), "of", sum(calls.values()), "system calls:", dict(outcomes))
        self.assertGreater(outcomes["killed"], len(kills) // 2)
        self.assertEqual(publish(root, "cam", "2").returncode, 0)
        self.assertEqual(manifests(root), after)

    def test_publishers_at_once_lose_nothing(self):
        root = self.start_anew()
        names = [f"app-{letter}" for letter in "abcdefgh"]
        command = [*CLOUD, "publish", "--root", root, "--label", "latest", "--version", "1",
                   "--entrypoint", "true &"]
        publishers = [subprocess.Popen([*command, "--process", name], stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL) for name in names]
        self.assertEqual([publisher.wait() for publisher in publishers], [0] * len(names))
        listed = json.loads(manifests(root)["latest"])["data"]["processes"]
        self.assertEqual(sorted(entry["processname"] for entry in listed), [*names, "cam"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
