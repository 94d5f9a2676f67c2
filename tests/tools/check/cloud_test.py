#!/usr/bin/env python3
"""`tolvar check --cloud` against the stand-in, the small cloud of the examples, and broken ones.

cloud_test.py SOURCE CERTS TOOL CLOUD..., on the bench device; TOOL "-": there is none.
"""

import hashlib
import http.server
import json
import os
import pathlib
import re
import socket
import ssl
import subprocess
import sys
import threading
import time
import unittest
from typing import NamedTuple

SOURCE, CERTS, TOOL = map(pathlib.Path, sys.argv[1:4])
CLOUD = sys.argv[4:]
PORTS = {"stand-in": 8443, "example": 8444, "broken": 8445, "nginx": 8446}
NGINX = "/usr/sbin/nginx"
NGINX_MODULE = "/usr/lib/nginx/modules/ngx_http_js_module.so"
PEM = [CERTS / "server.pem", CERTS / "server.key"]
FILE = b"hello"


def check(port, *options, authorities=CERTS / "ca.pem"):
    done = subprocess.run(
        [TOOL, "check", "--cloud", f"https://cloud.test:{port}", "--cacert", authorities,
         "--mac", "0a1b2c3d4e5f", "--token", "T", *options],
        capture_output=True, text=True, check=False)
    return done.returncode, done.stdout + done.stderr


class Fault(NamedTuple):
    """What a cloud does wrong, and a line of the table that says so."""

    name: str
    line: str
    status: int = 1


# fmt: off
FAULTS = [
    Fault("none", r'ok +file cam 1 .*takes it$', 0),
    Fault("redirects", r'error +list of "latest" +302, .*does not follow the redirect'),
    Fault("is a web page", r'error +list of "latest" +200, .*finds no manifest'),
    Fault("compresses", r'error +list of "latest" .*does not unpack'),
    Fault("refuses with a manifest", r'warning +list of "latest" +500, .*whatever the status', 0),
    Fault("lists all for one", r'error +"two" of "latest" .*not the first listed'),
    Fault("lists another version for one", r'warning +"one" of "latest" .*another version', 0),
    Fault("locates another version", r'error +address of cam 1 .*finds no address'),
    Fault("locates without TLS", r'error +address of cam 1 .*without protection: http://'),
    Fault("sends another file", r'error +file cam 1 .*discards it: MD5 [0-9a-f]{32}, not '),
    Fault("sends a redirect for a file", r'error +file cam 1 +302, .*does not follow the redirect'),
    Fault("sends a file without its length", r'warning +file cam 1 .*no length', 0),
    Fault("breaks off a file", r'error +file cam 1 +curl 18: '),
    Fault("lists a faulty release", r'^error 401 latest /data/processes/0/maxretries'),
]
# fmt: on


class BrokenCloud(http.server.BaseHTTPRequestHandler):
    fault = "none"

    def send(self, body, status=200, length=None, **headers):
        self.send_response(status)
        for name, value in headers.items():
            self.send_header(name.replace("_", "-"), value)
        if length != "":
            self.send_header("Content-Length", str(length or len(body)))
        self.end_headers()
        self.wfile.write(body)

    def manifest(self, asked):
        component = {"filename": "cam", "localpath": "/opt/cam/data", "version": "1",
                     "checksum": hashlib.md5(FILE).hexdigest()}
        two = [{"processname": name, "version": "1", "components": [],
                "entrypoint": f"{name} >/run/log 2>&1 </dev/null &"} for name in ["one", "two"]]
        two[0]["components"] = [component]
        if self.fault == "lists a faulty release":
            two[0]["maxretries"] = 0
        if asked["processname"] and self.fault == "lists another version for one":
            two[0]["version"] = "2"
        if self.fault != "lists all for one":
            two = [each for each in two if asked["processname"] in ("", each["processname"])]
        return json.dumps({"data": {"processes": two}}).encode()

    def location(self, asked):
        scheme = "http" if self.fault == "locates without TLS" else "https"
        version = "2" if self.fault == "locates another version" else asked["version"]
        url = f"{scheme}://cloud.test:{PORTS['broken']}/file"
        return json.dumps({"data": {"filename": asked["filename"], "version": version,
                                    "url": url}}).encode()

    def do_POST(self):
        asked = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        body = self.location(asked) if "filename" in asked else self.manifest(asked)
        if self.fault == "redirects":
            self.send(body, 302, Location="https://cloud.test/")
        elif self.fault == "is a web page":
            self.send(b"<html>")
        elif self.fault == "compresses":
            self.send(body, Content_Encoding="gzip")
        elif self.fault == "refuses with a manifest":
            self.send(body, 500)
        else:
            self.send(body)

    def do_GET(self):
        if self.fault == "sends another file":
            self.send(b"<html>")
        elif self.fault == "sends a redirect for a file":
            self.send(FILE, 302, Location="https://cloud.test/")
        elif self.fault == "sends a file without its length":
            self.send(FILE, length="")
        elif self.fault == "breaks off a file":
            self.send(FILE, length=100)
        else:
            self.send(FILE)

    def log_message(self, *_):
        pass


def start_broken_cloud():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", PORTS["broken"]), BrokenCloud)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(*PEM)
    server.socket = context.wrap_socket(server.socket, server_side=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()


def publish():
    pathlib.Path("/run/cam").write_bytes(FILE)
    for label in ["latest", "lastknowngood"]:
        path = "/opt/my cams/cam"
        subprocess.run(
            [*CLOUD, "publish", "--root", "/run/releases", "--label", label, "--process", "cam",
             "--version", "1", "--component", f"/run/cam,a cam,{path}", "--entrypoint",
             f"chmod +x '{path}'; '{path}' >/run/log 2>&1 </dev/null &"],
            check=True, capture_output=True)


def start(*command):
    return subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def wait_for(port):
    deadline = time.monotonic() + 30
    while socket.socket().connect_ex(("127.0.0.1", port)) != 0:
        assert time.monotonic() < deadline, port
        time.sleep(0.05)


def start_nginx():
    """With the example's configuration, its places and port changed."""
    folder = pathlib.Path("/run/nginx")
    folder.mkdir()
    example = SOURCE / "examples/nginx"
    for file in [*PEM, example / "cloud.js"]:
        (folder / file.name).write_bytes(file.read_bytes())
    settings = (example / "nginx.conf").read_text()
    for place, ours in [("/etc/nginx/tolvar", str(folder)), ("/srv/releases", "/run/releases"),
                        ("8443", str(PORTS["nginx"]))]:
        assert place in settings, place
        settings = settings.replace(place, ours)
    (folder / "nginx.conf").write_text(settings)
    # The bench device has no other user.
    return start(NGINX, "-p", folder, "-c", folder / "nginx.conf", "-g",
                 f"daemon off; user root root; pid {folder}/pid;")


class CheckCloudTest(unittest.TestCase):
    def test_the_stand_in_and_the_clouds_of_the_examples_pass(self):
        publish()
        url = f"https://cloud.test:{PORTS['example']}"
        servers = [
            start(*CLOUD, "serve", "--root", "/run/releases", "--cert", PEM[0], "--key", PEM[1]),
            start(SOURCE / "examples/cloud.py", "/run/releases", *PEM, url, str(PORTS["example"]))]
        names = ["stand-in", "example"]
        if os.path.exists(NGINX) and os.path.exists(NGINX_MODULE):
            servers.append(start_nginx())
            names.append("nginx")
        print("tried:", ", ".join(names))
        for name in names:
            wait_for(PORTS[name])
            with self.subTest(name):
                status, text = check(PORTS[name], "--strict")
                self.assertEqual(status, 0, text)
                self.assertIn("0 errors, 0 warnings", text)
                self.assertRegex(text, r"certificate +TLSv1\.3 +trusts it until \w+ +\d+ .* GMT")
                self.assertRegex(text, r"ok +file a cam 1 +200, 5 bytes")
        for server in servers:
            server.terminate()
            server.wait()

    def test_each_fault_of_a_cloud_is_told(self):
        start_broken_cloud()
        for fault in FAULTS:
            BrokenCloud.fault = fault.name
            with self.subTest(fault.name):
                status, text = check(PORTS["broken"])
                self.assertRegex(text, re.compile(fault.line, re.M))
                self.assertEqual(status, fault.status, text)
        BrokenCloud.fault = "none"
        unknown = CERTS.with_name("certs-unknown") / "ca.pem"
        status, text = check(PORTS["broken"], authorities=unknown)
        self.assertEqual(status, 1)
        self.assertIn("curl 60", text)
        exchanges = json.loads(check(PORTS["broken"], "--json")[1])["exchanges"]
        self.assertEqual({exchange["verdict"] for exchange in exchanges}, {"ok"})

    def test_a_cloud_that_is_not_there_is_told(self):
        status, text = check(1)
        self.assertEqual(status, 1)
        self.assertIn("curl 7", text)


if __name__ == "__main__":
    if "TOLVAR_BENCH" not in os.environ:
        sys.exit("run me through device/bench")
    if TOOL.name == "-":
        sys.exit(77)
    unittest.main(argv=sys.argv[:1], verbosity=2)
