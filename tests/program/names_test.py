"""Names of files are bytes: zeva keeps them as they are, and escapes them where it prints them."""

import json
import os
import unittest

from zeva_program import ZevaTest, messages, png, png_size

LATIN = b"caf\xe9"  # not UTF-8
UTF8 = "café"  # what LATIN is in another encoding


class NamesTest(ZevaTest):
    def names(self):
        return sorted(os.listdir(os.fsencode(self.folder)))

    def test_a_name_that_is_not_text_is_not_another_name(self):
        (self.folder / f"{UTF8}.png").write_bytes(png(7, 7))
        self.assert_works("apply", "ColorInvert", self.photo, "-o", LATIN + b".png")
        self.assertEqual(png_size(self.folder / f"{UTF8}.png"), (7, 7))
        self.assertIn(LATIN + b".png", self.names())
        self.assert_works("apply", "ColorInvert", LATIN + b".png", "-o", self.out)
        self.assertEqual(png_size(self.out), (40, 30))

    def test_every_byte_of_a_name_reaches_the_file_system(self):
        name = bytes(byte for byte in range(1, 256) if byte != ord("/"))[:240] + b".png"
        self.assert_works("apply", "ColorInvert", self.photo, "-o", name.replace(b"{", b"{{"))
        self.assertIn(name, self.names())

    def test_names_of_settings_and_folders_are_bytes(self):
        mask = b"inputMaskImage=" + LATIN + b".png"
        os.link(self.photo, os.fsencode(self.folder) + b"/" + LATIN + b".png")
        self.assert_works("apply", "BlendWithMask", mask, self.photo, LATIN + b".png", "-o", LATIN)
        self.assertEqual(sorted(os.listdir(os.fsencode(self.folder) + b"/" + LATIN)), [LATIN + b".png", b"photo.png"])

    def test_messages_and_steps_escape_names(self):
        self.assert_fails(
            1,
            r"a\xe9\x1b[31m\n.png: no such file or directory; no image was opened",
            *("apply", "ColorInvert", b"a\xe9\x1b[31m\n.png", "-o", self.out),
        )
        os.link(self.photo, os.fsencode(self.folder) + b"/" + LATIN + b"\n.png")
        steps = self.steps("ColorInvert", LATIN + b"\n.png", "-o", self.out)
        self.assertEqual(steps[1], r"open: caf\xe9\n.png, 40 x 30")
        self.out.unlink()
        self.assert_fails(2, r"filter a\x1b: there is no such filter", "apply", "a\x1b", "-o", self.out)

    def test_a_batch_escapes_names(self):
        result = self.zeva("apply", "ColorInvert", b"\xe9.png", self.photo, "-o", b"out\xff")
        self.assertEqual(messages(result.stderr), [r"zeva: \xe9.png: no such file or directory; no image was opened"])
        self.assertRegex(result.stdout, r"^1 of 2 pictures written to out\\xff, 1 failed, ")

    def test_scripts_pass_names_on_as_bytes(self):
        script = self.folder / "script.lua"
        script.write_text('CIImageQOR.Open(arg[1]):Save(arg[2]); error("a\\27b")')
        os.link(self.photo, os.fsencode(self.folder) + b"/" + LATIN)
        result = self.zeva("run", script, LATIN, b"\xff.png")
        self.assertIn(b"\xff.png", self.names())
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.splitlines()[0], rf"zeva: {script}:1: a\x1bb")

    def test_json_has_the_bytes_of_a_name_that_is_not_text(self):
        os.link(self.photo, os.fsencode(self.folder) + b"/" + LATIN)
        self.assert_works("apply", "ColorInvert", LATIN, "-o", self.out, "--trace", "trace.json")
        events = json.loads((self.folder / "trace.json").read_text())
        opened = next(event for event in events if event.get("name") == "CIImageQOR.Open")
        self.assertEqual(opened["args"]["arguments"], [{"text": "caf\ufffd", "base64": "Y2Fm6Q=="}])
        printed = self.assert_works("trace", "trace.json")
        self.assertIn('CIImageQOR.Open({"text":"caf\ufffd","base64":"Y2Fm6Q=="})', printed)
        report = json.loads(self.zeva("check", LATIN, "--only", "load.entry-point", "--json").stdout)
        self.assertEqual((report["module"], report["moduleBase64"]), ("caf\ufffd", "Y2Fm6Q=="))

    def test_two_dashes_end_the_options(self):
        (self.folder / "-photo.png").write_bytes(png(5, 4))
        self.assert_works("apply", "ColorInvert", "-o", self.out, "--", "-photo.png")
        self.assertEqual(png_size(self.out), (5, 4))
        self.assert_works("apply", "-o", self.out, "--", "ColorInvert", self.photo)
        self.assertEqual(png_size(self.out), (40, 30))
        self.out.unlink()
        self.assert_fails(2, "--output is required", "apply", "ColorInvert", "--", "-photo.png", "-o", self.out)
        self.assert_fails(2, "class --json: there is no such class", "describe", "--", "--json")
        self.assert_fails(2, "-t.json: cannot be read", "trace", "--", "-t.json")
        (self.folder / "-script.lua").write_text("print(...)")
        self.assertEqual(self.assert_works("run", "--", "-script.lua", "--", "-x"), "--\t-x\n")


if __name__ == "__main__":
    unittest.main()
