"""Attacks on the studio's server: other sites, other programs, other users, and whoever sends nonsense."""

import os
import pathlib
import re
import socket
import struct
import time
import unittest
import zlib

from studio_process import PHOTO, Answer, Refused, Studio, card, png, received, temporary_folder, view

SECRETS = re.compile(r"[0-9a-f]{32}")


def setUpModule():
    global folder, outside, studio
    outside = temporary_folder()
    folder = outside / "inside"
    folder.mkdir()
    (folder / "photo.png").write_bytes(png(40, 30))
    (outside / "secret.png").write_bytes(png(8, 8))
    (folder / "link.png").symlink_to(outside / "secret.png")
    studio = Studio("--folder", folder).enter()
    unittest.addModuleCleanup(studio.end)


class EntranceTest(unittest.TestCase):
    def test_a_foreign_name_that_leads_here_is_refused(self):
        for host in (f"studio.example:{studio.port}", "127.0.0.1", f"127.0.0.1:{studio.port + 1}",
                     f"127.0.0.1:{studio.port}.example", f"LOCALHOST.:{studio.port}", "", None):
            self.assertIn(studio.get("/", Host=host).status, (400, 403), host)
        for host in ("localhost", "[::1]"):
            self.assertEqual(studio.get("/", Host=f"{host}:{studio.port}").status, 200)

    def test_another_site_is_refused_even_with_the_cookie(self):
        for origin in ("http://studio.example", "null", f"https://127.0.0.1:{studio.port}",
                       f"http://127.0.0.1:{studio.port + 1}", f"http://127.0.0.1:{studio.port}.example", ""):
            self.assertEqual(studio.drop("a.png", png(4, 4), Origin=origin).status, 403, origin)
            self.assertEqual(studio.get("/catalogue.json", Origin=origin).status, 403, origin)
            with self.assertRaises(Refused):
                studio.live(Origin=origin)

    def test_a_request_without_an_origin_changes_nothing(self):
        self.assertEqual(studio.drop("a.png", png(4, 4), Origin=None).status, 403)
        with self.assertRaises(Refused):
            studio.live(Origin=None)

    def test_nothing_is_served_without_the_cookie(self):
        name = studio.cookie.partition("=")[0]
        for cookie in (None, f"{name}=", f"{name}={'0' * 32}", f"x{studio.cookie}", studio.cookie[:-1]):
            for path in ("/", "/studio.js", "/catalogue.json", "/download/x"):
                self.assertEqual(studio.get(path, Cookie=cookie).status, 403, (cookie, path))
            with self.assertRaises(Refused):
                studio.live(Cookie=cookie)

    def test_the_cookie_alone_does_not_admit_writes_and_web_sockets(self):
        for secret in ("", "0" * 32, studio.secret[:-1], studio.secret + "0"):
            self.assertEqual(studio.drop("a.png", png(4, 4), X_Zeva_Secret=secret).status, 403)
            with self.assertRaises(Refused):
                studio.live(secret=secret)
        self.assertEqual(studio.drop("a.png", png(4, 4), X_Zeva_Secret=None).status, 403)

    def test_a_token_works_once(self):
        token = studio.new_link().rpartition("=")[2]
        self.assertEqual(studio.get(f"/?token={token}", Cookie=None).status, 303)
        self.assertEqual(studio.get(f"/?token={token}", Cookie=None).status, 403)

    def test_wrong_tokens_are_refused(self):
        studio.new_link()
        for token in ("0" * 32, "x", "%00", "a" * 2000):
            self.assertEqual(studio.get(f"/?token={token}", Cookie=None).status, 403)

    def test_the_cookie_is_out_of_reach_of_scripts_and_other_sites(self):
        token = studio.new_link().rpartition("=")[2]
        answer = studio.get(f"/?token={token}", Cookie=None)
        self.assertRegex(answer.headers["set-cookie"],
            r"^zeva_studio_\d+=[0-9a-f]{32}; Path=/; HttpOnly; SameSite=Strict$")
        self.assertEqual(answer.headers["location"], "/")

    def test_every_answer_forbids_foreign_scripts_and_frames_and_allows_no_other_site(self):
        for path, cookie in (("/", studio.cookie), ("/studio.js", studio.cookie), ("/none", studio.cookie),
            ("/", None)):
            headers = studio.get(path, Cookie=cookie).headers
            self.assertIn("default-src 'none'", headers["content-security-policy"])
            self.assertIn("frame-ancestors 'none'", headers["content-security-policy"])
            self.assertNotIn("unsafe", headers["content-security-policy"])
            self.assertEqual(headers["x-content-type-options"], "nosniff")
            self.assertEqual([name for name in headers if name.startswith("access-control")], [])

    def test_only_this_machine_is_listened_to(self):
        tables = "".join(pathlib.Path(f"/proc/{studio.process.pid}/net/{name}").read_text() for name in ("tcp", "tcp6"))
        port = f":{studio.port:04X} "
        listening = [line.split()[1] for line in tables.splitlines() if port in line and line.split()[3] == "0A"]
        mine = {f"0100007F{port}".strip(), f"{'0' * 24}01000000{port}".strip()}
        self.assertLessEqual(set(listening), mine)
        self.assertIn(f"0100007F{port}".strip(), listening)


class FileTest(unittest.TestCase):
    def test_paths_do_not_lead_out_of_the_page(self):
        for path in ("/../etc/passwd", "/..%2f..%2fetc%2fpasswd", "/%2e%2e/%2e%2e/etc/passwd", "//etc/passwd",
                     "/studio.js/../../x", "/download/../photo.png", "/download/%2e%2e%2fphoto.png"):
            self.assertIn(studio.get(path).status, (400, 404), path)

    def test_a_symbolic_link_out_of_the_folder_cannot_be_pasted(self):
        live = studio.live()
        paths = [folder / "link.png", outside / "secret.png", folder / "../secret.png", "/etc/hostname"]
        for path in paths:
            text = f"zeva apply BlendWithMask inputMaskImage='{path}' -o x.png"
            answer = live.call("paste", text=text)[0]
            self.assertIn("not open, and not below the folder", answer.get("error", ""), path)
        text = f"zeva apply BlendWithMask inputMaskImage='{folder}/photo.png' -o x.png"
        self.assertNotIn("error", live.call("paste", text=text)[0])

    def test_settings_name_no_files(self):
        live = studio.live()
        for filter, key, text in (("BlendWithMask", "inputMaskImage", str(folder / "photo.png")),
                                  ("ColorCube", "inputCubeData", "@/etc/passwd"),
                                  ("ColorCube", "inputCubeData", "/etc/passwd.cube"),
                                  ("ColorMap", "inputGradientImage", "#99")):
            answer = live.call("render", photo="1", cards=[card("c1", filter, **{key: text})], view=view(40, 30))[0]
            self.assertEqual(answer.get("card"), "c1", text)
            self.assertRegex(answer["error"], "no such|expected a file that is open", text)

    def test_recipes_are_not_read_from_pasted_paths(self):
        recipe = outside / "own.recipe"
        recipe.write_text("zeva-recipe 1\nGaussianBlur\n")
        answer = studio.live().call("paste", text=f"zeva apply {recipe} x.png")[0]
        self.assertIn("not a recipe that comes with the program", answer["error"])

    def test_results_stay_in_the_folder_and_overwrite_nothing(self):
        live = studio.live()
        before = (folder / "photo.png").read_bytes()
        for name in ("../../x", "/tmp/x", "photo", "..", "a/b/photo", ".hidden", "\n"):
            answer = live.call("save", photo="1", cards=[], keepSize=True, format="png", options={}, name=name,
                toFolder=True)[0]
            self.assertNotIn("error", answer, name)
            self.assertTrue((folder / answer["name"]).is_file(), name)
        self.assertEqual((folder / "photo.png").read_bytes(), before)
        self.assertEqual(sorted(path.name for path in outside.iterdir() if path.suffix == ".png"), ["secret.png"])

    def test_options_of_a_result_name_no_files_and_formats_no_paths(self):
        live = studio.live()
        for options in ({"color-space": "/etc/passwd"}, {"working-space": "x.icc"}, {"quality": "1;format=png"}):
            answer = live.call("save", photo="1", cards=[], keepSize=True, format="png", options=options, name="x")[0]
            self.assertRegex(answer["error"], "not a value of this option|no such option")
        answer = live.call("save", photo="1", cards=[], format="png/../../x", options={}, name="x")[0]
        self.assertEqual(answer["error"], "no such format")

    def test_a_download_needs_its_name_and_works_once(self):
        answer = studio.live().call("save", photo="1", cards=[], keepSize=True, format="png", options={},
            name='a"b\r\nX: y')[0]
        got = studio.get(answer["download"])
        self.assertEqual((got.status, got.body[:4]), (200, b"\x89PNG"))
        self.assertNotIn("x", got.headers)
        self.assertNotIn('"', got.headers["content-disposition"].split('"', 1)[1][:-1])
        self.assertEqual(studio.get(answer["download"]).status, 404)

    def test_a_script_in_a_file_name_is_text(self):
        name = "%3Cimg%20src=x%20onerror=alert(1)%3E.png"
        answer = studio.drop(name, png(4, 4))
        self.assertEqual(answer.headers["content-type"], "application/json")
        self.assertIn(b"<img src=x onerror=alert(1)>.png", answer.body)


class LoadTest(unittest.TestCase):
    def test_a_large_body_is_refused_before_it_is_read(self):
        answer = studio.send("POST", "/drop?name=a.png", b"", Content_Length=str(10 << 30))
        self.assertEqual(answer.status, 413)

    def test_a_body_without_an_end_is_cut(self):
        for cookie in (studio.cookie, "none"):
            with studio.connect() as connection:
                connection.sendall(
                    (f"POST /drop?name=a.png HTTP/1.1\r\nHost: 127.0.0.1:{studio.port}\r\nCookie: {cookie}\r\n"
                                    f"Origin: {studio.origin}\r\nX-Zeva-Secret: {studio.secret}\r\n"
                                    "Transfer-Encoding: chunked\r\n\r\n").encode())
                with self.assertRaises((BrokenPipeError, ConnectionResetError)):
                    for _ in range(64):
                        connection.sendall(b"100000\r\n" + bytes(1 << 20) + b"\r\n")

    def test_a_body_that_ends_early_is_not_opened(self):
        answer = studio.send("POST", "/drop?name=a.png", png(4, 4)[:20], Content_Length="5000")
        self.assertIn(answer.status, (0, 400))

    def test_a_file_that_is_not_a_picture_is_refused(self):
        for name, content in (("a.png", b"no picture"), ("a.cube", b"LUT_3D_SIZE 999999\n"),
            ("a.png", png(9, 9)[:-30])):
            self.assertIn(b'"error"', studio.drop(name, content).body)

    def test_a_decompression_bomb_costs_one_message(self):
        side = 30000
        header = struct.pack(">IIBBBBB", side, side, 8, 2, 0, 0, 0)

        def chunk(kind, data):
            return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

        packed = zlib.compressobj(9)
        data = b"".join(packed.compress(bytes(1 + 3 * side)) for _ in range(600)) + packed.flush()
        bomb = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", data) + chunk(b"IEND", b"")
        self.assertLess(len(bomb), 200000)
        answer = studio.drop("bomb.png", bomb)
        self.assertIn(b'"error"', answer.body)
        self.assertNotIn("error", studio.live().call("render", photo="1", cards=[], view=view(40, 30))[0])

    def test_slow_clients_are_dropped_and_do_not_stop_others(self):
        slow = [studio.connect() for _ in range(20)]
        for connection in slow:
            connection.sendall(b"GET / HTTP/1.1\r\nHost: ")
        self.assertEqual(studio.get("/").status, 200)
        slow[0].settimeout(60)
        received(slow[0])  # ends because the server closes
        for connection in slow:
            connection.close()

    def test_a_thousand_sockets_do_not_stop_a_page(self):
        live = studio.live()
        sockets = []
        for _ in range(1000):
            connection = socket.socket()
            connection.setblocking(False)
            connection.connect_ex(("127.0.0.1", studio.port))
            sockets.append(connection)
        self.assertIn("part", live.call("render", photo="1", cards=[], view=view(40, 30))[0])
        for connection in sockets:
            connection.close()
        end = time.monotonic() + 20
        while time.monotonic() < end:
            try:
                self.assertEqual(studio.get("/").status, 200)
                return
            except (OSError, IndexError):
                time.sleep(0.2)
        self.fail("the studio does not answer any more")

    def test_too_many_pages_are_refused(self):
        pages = []
        try:
            with self.assertRaises(Refused):
                for _ in range(20):
                    pages.append(studio.live())
        finally:
            for page in pages:
                page.close()
        self.assertGreaterEqual(len(pages), 4)
        end = time.monotonic() + 20  # the studio notices a closed page when it reads from it
        while True:
            try:
                return studio.live().close()
            except Refused:
                self.assertLess(time.monotonic(), end, "no page is let in any more")
                time.sleep(0.05)


class NonsenseTest(unittest.TestCase):
    def assert_closed(self, *frames):
        live = studio.live()
        try:
            for payload, first in frames:
                live.send_frame(payload, first)
            with self.assertRaises((ConnectionError, TimeoutError)):
                live.receive()
        except (BrokenPipeError, ConnectionResetError):
            pass
        live.close()

    def test_malformed_frames_and_messages_end_the_connection(self):
        self.assert_closed((b"{}", 0xF1))            # reserved bits
        self.assert_closed((b"{}", 0x80))            # a continuation of nothing
        self.assert_closed((b"{}", 0x82))            # bytes
        self.assert_closed((b"{", 0x81))             # not JSON
        self.assert_closed((b"[1]", 0x81))
        self.assert_closed((b'{"call": "files"}', 0x81))
        self.assert_closed((b"{", 0x01), (b"}", 0x81))  # a new message inside another one

    def test_a_message_without_an_end_is_cut(self):
        self.assert_closed((b"x" * (1 << 20), 0x01), *[(b"x" * (1 << 20), 0x00)] * 5)

    def test_a_frame_that_claims_to_be_huge_ends_only_its_connection(self):
        live = studio.live()
        live.socket.sendall(bytes([0x81, 0xFF]) + struct.pack(">Q", 1 << 62) + bytes(4) + b"x" * 1000)
        live.socket.settimeout(10)
        try:
            received(live.socket)
        except OSError:
            pass
        live.close()
        self.assertEqual(studio.get("/").status, 200)

    def test_calls_with_wrong_members_get_a_message(self):
        live = studio.live()
        wrong = [{}, {"photo": 1, "cards": [], "view": view(4, 4)}, {"photo": "9", "cards": [], "view": view(4, 4)},
                 {"photo": "1", "cards": 5, "view": view(4, 4)}, {"photo": "1", "cards": [1], "view": view(4, 4)},
                 {"photo": "1", "cards": [card("c1", "NoFilter")], "view": view(4, 4)},
                 {"photo": "1", "cards": [], "view": {"width": "x"}},
                 {"photo": "1", "cards": [], "view": view(4, 4), "isQuick": "yes"},
                 {"photo": "1", "cards": [], "view": {"width": 1e300, "x": -1e300, "y": 1e300, "w": 1e300, "h": 1e300}}]
        for members in wrong:
            answer = live.call("render", **members)[0]
            self.assertTrue("error" in answer or answer["part"] == [0, 0, 0, 0] or answer["part"][2] <= 40, members)
        for call, members in (("paste", {"text": 5}), ("preset", {"name": []}), ("preset-delete", {"name": {}}),
                              ("save", {"format": 1}), ("save", {"name": None, "toFolder": "no"})):
            self.assertIn("another type", live.call(call, **members)[0]["error"], call)
        self.assertIn("unknown", live.call("nothing")[0]["error"])
        self.assertIn("unknown", live.call("inspect", path="/etc/passwd")[0]["error"])

    def test_malformed_requests_get_an_error_and_no_more(self):
        for request in (b"\0\0\0\0\r\n\r\n", b"GET\r\n\r\n", b"GET / HTTP/9.9\r\n\r\n",
            b"GET / HTTP/1.1\r\n" + b"A: " + b"x" * 40000,
                        b"POST /drop HTTP/1.1\r\nContent-Length: -5\r\n\r\n",
                            b"GET http://a/ HTTP/1.1\r\nHost: a\r\n\r\n"):
            with studio.connect() as connection:
                connection.settimeout(10)
                connection.sendall(request)
                try:
                    self.assertNotEqual(Answer(received(connection)).status, 200, request[:30])
                except (OSError, ValueError):
                    pass
        self.assertEqual(studio.get("/").status, 200)
        for method in ("PUT", "DELETE", "OPTIONS", "PATCH", "TRACE"):
            self.assertIn(studio.send(method, "/").status, (400, 403, 405, 501), method)


class SecretTest(unittest.TestCase):
    def test_tokens_cookies_and_secrets_stand_in_no_log_file_or_process_list(self):
        own = Studio(PHOTO).enter()
        live = own.live()
        live.call("files")
        lists = [path.read_bytes() for pid in [own.process.pid, *own.workers()]
            for path in pathlib.Path(f"/proc/{pid}").glob("cmdline")]
        private = [path for path in pathlib.Path("/tmp").glob("zeva-studio-*") if path.stat().st_uid == os.getuid()]
        for path in private:
            self.assertEqual(path.stat().st_mode & 0o077, 0, path)
        status, out, err = own.end()
        self.assertEqual((status, out, err), (130, "", ""))
        for secret in (own.token, own.cookie.partition("=")[2], own.secret):
            self.assertRegex(secret, SECRETS)
            self.assertFalse(any(secret.encode() in text for text in lists))


if __name__ == "__main__":
    unittest.main()
