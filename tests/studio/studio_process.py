"""Runs a studio and talks to it with plain sockets, as a page does and as an attacker might.

Run a test file as: FILE ZEVA CRASHING_FILTER ADDED_FILTER.
"""

import json
import pathlib
import re
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "gallery"))
sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "support"))
import picture

ZEVA = str(pathlib.Path(sys.argv.pop(1)).absolute())
# Modules. Programs that are not tests have none.
CRASHING_FILTER, ADDED_FILTER = [sys.argv.pop(1) for _ in sys.argv[1:3] if sys.argv[1].endswith(".so")] or ("", "")
FILTERS = pathlib.Path(ZEVA).parent.parent / "modules/filters.so"
PHOTO = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg"


def png(width, height, pixel=lambda x, y: (200, 100, 50)):
    return picture.encode([[pixel(x, y) for x in range(width)] for y in range(height)])


def temporary_folder():
    """A folder that is removed after the tests of the file."""
    folder = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(folder.cleanup)
    return pathlib.Path(folder.name).resolve()


class Answer:
    """The answer to a request over HTTP."""

    def __init__(self, data):
        head, _, self.body = data.partition(b"\r\n\r\n")
        lines = head.decode("latin-1").split("\r\n")
        self.status = int(lines[0].split()[1]) if len(lines[0].split()) > 1 else 0
        self.headers = {}
        for line in lines[1:]:
            name, _, value = line.partition(": ")
            self.headers[name.lower()] = value


def received(connection):
    """Everything until the connection is closed."""
    data = b""
    while part := connection.recv(1 << 16):
        data += part
    return data


class Studio:
    """A running studio. The caller ends it."""

    def __init__(self, *arguments, **options):
        self.process = subprocess.Popen(
            [ZEVA, "studio", "--no-open", "--quiet", *map(str, arguments)], text=True, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options)
        self.link = self.process.stdout.readline().strip()
        found = re.fullmatch(r"http://127\.0\.0\.1:(\d+)/\?token=([0-9a-f]{32})", self.link)
        assert found, (self.link, self.process.stderr.read())
        self.port, self.token = int(found[1]), found[2]
        self.origin = f"http://127.0.0.1:{self.port}"
        self.cookie = self.secret = ""

    def enter(self):
        """Follows the link, like a browser that then loads the page."""
        self.cookie = self.get(f"/?token={self.token}").headers["set-cookie"].partition(";")[0]
        self.secret = re.search(r'name="secret" content="([0-9a-f]{32})"', self.get("/").body.decode())[1]
        return self

    def new_link(self):
        """Presses Enter in the terminal."""
        self.process.stdin.write("\n")
        self.process.stdin.flush()
        return self.process.stdout.readline().strip()

    def end(self, number=signal.SIGINT):
        """Interrupts it. Returns the status and what it printed."""
        self.process.send_signal(number)
        out, err = self.process.communicate(timeout=30)
        return self.process.returncode, out, err

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port), timeout=30)

    def send(self, method, path, body=b"", **headers):
        """A request with the page's headers; a header that is None is left out. Returns the answer."""
        names = {"Host": f"127.0.0.1:{self.port}", "Connection": "close"}
        if self.cookie:
            names["Cookie"] = self.cookie
        if method == "POST":
            names |= {"Origin": self.origin, "X-Zeva-Secret": self.secret, "Content-Length": str(len(body))}
        names |= {name.replace("_", "-"): value for name, value in headers.items()}
        lines = [f"{name}: {value}\r\n" for name, value in names.items() if value is not None]
        with self.connect() as connection:
            connection.sendall(f"{method} {path} HTTP/1.1\r\n{''.join(lines)}\r\n".encode("latin-1") + body)
            return Answer(received(connection))

    def get(self, path, **headers):
        return self.send("GET", path, **headers)

    def drop(self, name, content, **headers):
        return self.send("POST", f"/drop?name={name}", content, **headers)

    def live(self, **headers):
        """The web socket of the page."""
        return Live(self, headers)

    def workers(self):
        """The processes of its workers."""
        children = pathlib.Path(f"/proc/{self.process.pid}/task").glob("*/children")
        return [int(number) for path in children for number in path.read_text().split()]


class Refused(Exception):
    """The web socket was refused with this status."""


class Live:
    """A web socket. `headers` replace those of the page; None leaves one out."""

    def __init__(self, studio, headers):
        secret = headers.pop("secret", studio.secret)
        names = {"Host": f"127.0.0.1:{studio.port}", "Origin": studio.origin, "Cookie": studio.cookie,
                 "Upgrade": "websocket", "Connection": "Upgrade", "Sec-WebSocket-Version": "13",
                 "Sec-WebSocket-Key": "dGhlIHNhbXBsZSBub25jZQ=="} | headers
        lines = [f"{name}: {value}\r\n" for name, value in names.items() if value is not None]
        self.socket = studio.connect()
        self.socket.sendall(f"GET /live?secret={secret} HTTP/1.1\r\n{''.join(lines)}\r\n".encode("latin-1"))
        head = b""
        while b"\r\n\r\n" not in head and (part := self.socket.recv(1)):
            head += part
        status = Answer(head).status
        if status != 101:
            self.socket.close()
            raise Refused(status)
        self.last = 0

    def close(self):
        self.socket.close()

    __del__ = close

    def send_frame(self, payload, first=0x81):
        """Sends one frame, masked with zeros."""
        length = len(payload)
        size = (bytes([0x80 | length]) if length < 126 else bytes([0xFE]) + struct.pack(">H", length)
                if length < 1 << 16 else bytes([0xFF]) + struct.pack(">Q", length))
        self.socket.sendall(bytes([first]) + size + bytes(4) + payload)

    def _exactly(self, count):
        data = bytearray()
        while len(data) < count:
            part = self.socket.recv(count - len(data))
            if not part:
                raise ConnectionError("the web socket was closed")
            data += part
        return bytes(data)

    def receive(self):
        """The next message: (JSON, bytes)."""
        while True:
            first, length = self._exactly(2)
            if length == 126:
                (length,) = struct.unpack(">H", self._exactly(2))
            elif length == 127:
                (length,) = struct.unpack(">Q", self._exactly(8))
            data = self._exactly(length)
            if first & 15 == 8:
                raise ConnectionError("the web socket was closed")
            if first & 15 == 2:
                (length,) = struct.unpack("<I", data[:4])
                return json.loads(data[4:4 + length]), data[4 + length:]
            if first & 15 == 1:
                return json.loads(data), b""

    def begin(self, call, **members):
        self.last += 1
        self.send_frame(json.dumps({"id": self.last, "call": call, **members}).encode())
        return self.last

    def call(self, call, **members):
        wanted = self.begin(call, **members)
        while True:
            answer, data = self.receive()
            if answer["id"] == wanted and "written" not in answer:
                return answer, data

    def files(self):
        return self.call("files")[0]["files"]


def card(name, filter, **settings):
    return {"name": name, "filter": filter, "settings": settings}


def view(width, height):
    return {"width": width, "x": 0, "y": 0, "w": width, "h": height}
