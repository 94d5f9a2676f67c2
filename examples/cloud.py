#!/usr/bin/env python3
"""A cloud in its smallest form: cloud.py ROOT CERTIFICATE KEY URL PORT.

Serves the folder that `tolvar-cloud publish` writes, over HTTPS; URL is what devices reach it by.
It does not ask who a device is: `processes` would be the place to look at "mac" and "enr", and to
answer some devices otherwise than others.
"""

import http.server
import json
import pathlib
import ssl
import sys
import urllib.parse

ROOT, CERTIFICATE, KEY, URL, PORT = sys.argv[1:]


def below(*parts: str) -> bytes:
    """A file of the folder; what leads out of it or to nothing: OSError or ValueError."""
    if any(part in ("", ".", "..") or "/" in part for part in parts):
        raise ValueError("no plain names")
    return pathlib.Path(ROOT, *parts).read_bytes()


def processes(asked: dict[str, str]) -> dict[str, object]:
    manifest = json.loads(below(asked["version"], "manifest.json"))
    listed = [entry for entry in manifest["data"]["processes"]
              if asked["processname"] in ("", entry["processname"])]
    return {"data": {"processes": listed}}


def location(asked: dict[str, str]) -> dict[str, object]:
    names = asked["filename"], asked["version"]
    below("files", *names)
    path = "/".join(urllib.parse.quote(name, safe="") for name in names)
    return {"data": {"filename": names[0], "version": names[1], "url": f"{URL}/files/{path}"}}


CALLS = {"/device/process/get_processes": processes,
         "/device/process/get_download_location": location}


class Handler(http.server.BaseHTTPRequestHandler):
    def answer(self, status: int, body: bytes) -> None:
        self.send_response(status)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_POST(self) -> None:
        try:
            asked = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
            self.answer(200, json.dumps(CALLS[self.path](asked)).encode())
        except (OSError, ValueError, KeyError, TypeError) as error:
            self.answer(404, json.dumps({"error": {"code": 404, "message": str(error)}}).encode())

    def do_GET(self) -> None:
        try:
            self.answer(200, below(*map(urllib.parse.unquote, self.path.split("/")[1:])))
        except (OSError, ValueError):
            self.answer(404, b"no such file")


context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(CERTIFICATE, KEY)
server = http.server.ThreadingHTTPServer(("", int(PORT)), Handler)
server.socket = context.wrap_socket(server.socket, server_side=True)
server.serve_forever()
