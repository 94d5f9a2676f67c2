#!/usr/bin/env python3
"""Holds docs/cloud-api.yaml against its examples and against what a device and the stand-in say.

contract_test.py SOURCE CERTS PLUG-IN TOOL CLOUD... -- HOST..., on the bench device. A proxy stands
at the cloud's place and keeps what passes. TOOL is `tolvar`, which plays a device; "-": none.
"""

import copy
import http.client
import http.server
import json
import os
import pathlib
import socket
import ssl
import subprocess
import sys
import threading
import time
import unittest
from typing import NamedTuple

import jsonschema
import yaml

SOURCE, CERTS, PLUG_IN, TOOL = map(pathlib.Path, sys.argv[1:5])
CLOUD = sys.argv[5:sys.argv.index("--")]
HOST = sys.argv[sys.argv.index("--") + 1:]
RELEASES = pathlib.Path("/run/releases")
CLOUD_PORT = 9443


def expanded(node, document):
    """With what each $ref names in its place."""
    if isinstance(node, list):
        return [expanded(item, document) for item in node]
    if not isinstance(node, dict):
        return node
    if "$ref" in node:
        target = document
        for key in node["$ref"].removeprefix("#/").split("/"):
            target = target[key]
        return expanded(target, document)
    return {key: expanded(value, document) for key, value in node.items()}


def contract():
    document = yaml.safe_load((SOURCE / "docs/cloud-api.yaml").read_text())
    return expanded(document, document)


CONTRACT = contract()


def faults(schema, value):
    validator = jsonschema.Draft202012Validator(schema)
    return [error.message for error in validator.iter_errors(value)]


def content_of(node):
    return node["content"]["application/json"]


def calls():
    """Of the two POSTs: path, what the request and each of its answers must look like."""
    for path, item in CONTRACT["paths"].items():
        if "post" in item:
            operation = item["post"]
            answers = {status: content_of(answer)
                       for status, answer in operation["responses"].items()}
            yield path, content_of(operation["requestBody"]), answers


def answer_of(answers, status):
    return answers.get(str(status)) or answers[f"{status // 100}XX"]


class Message(NamedTuple):
    path: str
    request: object
    status: int
    answer: object


class Proxy(http.server.BaseHTTPRequestHandler):
    kept: list[Message] = []
    headers_seen: list[dict[str, str]] = []

    def forward(self):
        body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        trust = ssl.create_default_context(cafile=CERTS / "ca.pem")
        trust.check_hostname = False  # the cloud's name leads here
        cloud = http.client.HTTPSConnection("127.0.0.1", CLOUD_PORT, context=trust)
        cloud.request(self.command, self.path, body, {"Content-Type": "application/json"})
        answer = cloud.getresponse()
        content = answer.read()
        self.send_response(answer.status)
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        self.wfile.write(content)
        self.headers_seen.append(dict(self.headers))
        if self.command == "POST":
            answer_said = json.loads(content)
            self.kept.append(Message(self.path, json.loads(body), answer.status, answer_said))

    do_GET = do_POST = forward

    def log_message(self, *_):
        pass


def start_proxy():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 8443), Proxy)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(CERTS / "server.pem", CERTS / "server.key")
    server.socket = context.wrap_socket(server.socket, server_side=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()


def cloud(command, *options):
    done = subprocess.run([*CLOUD, command, "--root", RELEASES, *options], capture_output=True,
                          text=True, check=False)
    assert done.returncode == 0, done.stderr


def publish(version, label):
    """A process that never heartbeats, so that it is rolled back."""
    pathlib.Path("/run/cam").write_text(f"version {version}")
    cloud("publish", "--label", label, "--process", "cam", "--version", version,
          "--entrypoint", "true >/run/log 2>&1 </dev/null &", "--maxstartuptime", "1",
          "--maxretries", "1", "--component", "/run/cam,cam,/opt/cam/cam")


def wait_until(condition):
    deadline = time.monotonic() + 60
    while not condition():
        assert time.monotonic() < deadline, Proxy.kept
        time.sleep(0.05)


def play_a_device():
    """One that finds no "latest", starts the last known good set, gets a "latest" and goes back."""
    start_proxy()
    publish("1", "lastknowngood")
    certificate = ["--cert", CERTS / "server.pem", "--key", CERTS / "server.key"]
    settings = pathlib.Path("/etc/config/.tolvar_config")
    settings.write_text("bootstrap_interval=2\n")
    pathlib.Path("/tmp/cacert.pem").write_bytes((CERTS / "ca.pem").read_bytes())
    with subprocess.Popen([*CLOUD, "serve", "--root", RELEASES, "--port", str(CLOUD_PORT),
                           *certificate], stdout=subprocess.DEVNULL) as server:
        wait_until(lambda: socket.socket().connect_ex(("127.0.0.1", CLOUD_PORT)) == 0)
        with subprocess.Popen([*HOST, PLUG_IN], stdout=subprocess.DEVNULL) as host:
            wait_until(lambda: any("download" in message.path for message in Proxy.kept))
            publish("2", "latest")
            wait_until(lambda: any(message.request.get("processname") == "cam" and
                                   message.request["version"] == "lastknowngood"
                                   for message in Proxy.kept))
            host.terminate()
        if TOOL.name != "-":
            play_with_the_tool()
        server.terminate()


def play_with_the_tool():
    count = len(Proxy.kept)
    done = subprocess.run([TOOL, "check", "--cloud", "https://cloud.test:8443", "--cacert",
                           CERTS / "ca.pem", "--mac", "0a1b2c3d4e5f", "--token", "T"],
                          capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    assert len(Proxy.kept) == count + 6, Proxy.kept[count:]


class ContractTest(unittest.TestCase):
    def test_every_example_is_as_the_contract_says(self):
        count = 0
        for path, request, answers in calls():
            for content in [request, *answers.values()]:
                for name, example in content["examples"].items():
                    with self.subTest(path=path, example=name):
                        self.assertEqual(faults(content["schema"], example["value"]), [])
                    count += 1
        self.assertGreater(count, 8)

    def test_the_contract_refuses_what_lacks_a_key(self):
        for path, request, answers in calls():
            example = next(iter(request["examples"].values()))["value"]
            for key in example:
                broken = {other: value for other, value in example.items() if other != key}
                self.assertNotEqual(faults(request["schema"], broken), [], f"{path} without {key}")
            self.assertNotEqual(faults(request["schema"], {**example, "more": ""}), [])
            for status, answer in answers.items():
                self.assertNotEqual(faults(answer["schema"], {}), [], f"{path} {status}")

    def test_the_contract_refuses_what_devices_cannot_live_with(self):
        schema = CONTRACT["components"]["schemas"]["Manifest"]
        good = next(content["200"]["examples"]["one"]["value"] for _, _, content in calls())
        for key, value in [("processname", "longer-than-allowed"), ("processname", "a.b"),
                           ("maxretries", 0), ("maxretries", "5"), ("entrypoint", "cam"),
                           ("version", 2), ("components", None)]:
            broken = copy.deepcopy(good)
            broken["data"]["processes"][0][key] = value
            self.assertNotEqual(faults(schema, broken), [], f"{key} {value}")
        for key, value in [("checksum", "A" * 32), ("localpath", "cam"), ("localpath", "/cam"),
                           ("localpath", "/opt/cam/"), ("version", None)]:
            broken = copy.deepcopy(good)
            broken["data"]["processes"][0]["components"][0][key] = value
            self.assertNotEqual(faults(schema, broken), [], f"{key} {value}")

    def test_device_and_stand_in_speak_as_the_contract_says(self):
        play_a_device()
        by_path = {path: (request, answers) for path, request, answers in calls()}
        for message in Proxy.kept:
            request, answers = by_path[message.path]
            with self.subTest(message=message):
                self.assertEqual(faults(request["schema"], message.request), [])
                schema = answer_of(answers, message.status)["schema"]
                self.assertEqual(faults(schema, message.answer), [])
        kinds = {(message.path[-9:], message.request["version"], message.status)
                 for message in Proxy.kept}
        for kind in [("processes", "latest", 404), ("processes", "latest", 200),
                     ("processes", "lastknowngood", 200), ("_location", "1", 200),
                     ("_location", "2", 200)]:
            self.assertIn(kind, kinds)
        print(len(Proxy.kept), "messages,", len(kinds), "kinds")
        # What the page says of header fields.
        for seen in Proxy.headers_seen:
            expected = {"Host", "Accept"}
            if "Content-Type" in seen:
                expected |= {"Content-Type", "Content-Length"}
                self.assertEqual(seen["Content-Type"], "application/json")
            self.assertEqual(set(seen), expected)
            self.assertEqual(seen["Accept"], "*/*")


if __name__ == "__main__":
    if "TOLVAR_BENCH" not in os.environ:
        sys.exit("run me through device/bench")
    unittest.main(argv=sys.argv[:1], verbosity=2)
