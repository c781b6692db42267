"""The data about a picture: what of Exif, XMP and IPTC a result keeps, and in which form."""

import struct
import unittest

from PIL import Image, IptcImagePlugin

from zeva_program import ZevaTest, png

SAME = "ColorControls"

XMP = (
    b'<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?><x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF>'
    b'<rdf:Description dc:title="Harbor" tiff:Orientation="6" exif:GPSLatitude="53,33.1N" photoshop:City=\'Hamburg\'>'
    b"<exif:GPSLongitude>9,59.2E</exif:GPSLongitude><exif:PixelXDimension>40</exif:PixelXDimension>"
    b"<Iptc4xmpExt:LocationShown><rdf:Bag><rdf:li Iptc4xmpExt:City='Hamburg'/></rdf:Bag></Iptc4xmpExt:LocationShown>"
    b"<dc:creator>Grace</dc:creator></rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end='w'?>"
)


def data_set(number, text):
    return struct.pack(">BBBH", 0x1C, 2, number, len(text)) + text


IPTC = data_set(5, b"Harbor") + data_set(90, b"Hamburg") + data_set(101, b"Germany") + data_set(116, b"Free")


def exif(order, orientation=6):
    """An Exif block with an orientation, the name of a camera, a size, a location and a thumbnail."""
    camera, thumbnail = b"Camera of a test\0", b"\xff\xd8THUMBNAIL\xff\xd9"

    def table(place, entries, next_table=0):
        """A table at a place, and behind it the values that do not fit into an entry."""
        values, packed = b"", b""
        end = place + 2 + 12 * len(entries) + 4
        for tag, kind, count, value in entries:
            if isinstance(value, bytes) and len(value) > 4:
                value, values = end + len(values), values + value
            if isinstance(value, bytes):
                packed += struct.pack(order + "HHI", tag, kind, count) + value.ljust(4, b"\0")
            else:
                form = {3: "HH", 4: "I"}.get(kind, "I")
                numbers = (value, 0) if form == "HH" else (value,)
                packed += struct.pack(order + "HHI" + form, tag, kind, count, *numbers)
        return struct.pack(order + "H", len(entries)) + packed + struct.pack(order + "I", next_table) + values

    details_at, location_at, thumbnail_at = 200, 260, 400
    latitude = struct.pack(order + "6I", 53, 1, 33, 1, 777, 1)
    main = table(
        8,
        [
            (0x010F, 2, len(camera), camera),
            (0x0112, 3, 1, orientation),
            (0x8769, 4, 1, details_at),
            (0x8825, 4, 1, location_at),
            (0x9003, 2, 2, b"x\0"),
        ],
        thumbnail_at,
    )
    details = table(details_at, [(0xA002, 4, 1, 40), (0xA003, 3, 1, 30)])
    location = table(location_at, [(1, 2, 2, b"N\0"), (2, 5, 3, latitude)])
    small = table(thumbnail_at, [(0x0201, 4, 1, thumbnail_at + 60), (0x0202, 4, 1, len(thumbnail))])
    block = struct.pack(order + "HI", 42, 8) + main
    block = ({"<": b"II", ">": b"MM"}[order] + block).ljust(details_at, b"\0") + details
    block = (block.ljust(location_at, b"\0") + location).ljust(thumbnail_at, b"\0") + small
    return block.ljust(thumbnail_at + 60, b"\0") + thumbnail


def segment(marker, content):
    return struct.pack(">BBH", 0xFF, marker, len(content) + 2) + content


def with_metadata(jpeg, order):
    """A JPEG with Exif, XMP and IPTC."""
    resource = b"8BIM\x04\x04\0\0" + struct.pack(">I", len(IPTC)) + IPTC + b"\0" * (len(IPTC) % 2)
    return (
        jpeg[:2]
        + segment(0xE1, b"Exif\0\0" + exif(order))
        + segment(0xE1, b"http://ns.adobe.com/xap/1.0/\0" + XMP)
        + segment(0xED, b"Photoshop 3.0\0" + resource)
        + jpeg[2:]
    )


class MetadataTest(ZevaTest):
    def setUp(self):
        super().setUp()
        Image.new("RGB", (40, 30), (200, 100, 50)).save(self.folder / "plain.jpg")
        self.plain = (self.folder / "plain.jpg").read_bytes()
        self.source = self.folder / "in.jpg"
        self.source.write_bytes(with_metadata(self.plain, "<"))

    def apply(self, target, *options, source=None):
        self.assert_works("apply", SAME, source or self.source, "-o", target, *options)
        return self.folder / target

    def exif_of(self, path):
        with Image.open(path) as image:
            self.assertEqual(image.size, (30, 40), path)
            data = image.info.get("exif", b"")
            return image.getexif(), data

    def test_exif_is_kept_with_the_orientation_applied_and_reset(self):
        for order in "<>":
            self.source.write_bytes(with_metadata(self.plain, order))
            for target in ("out.jpg", "out.png", "out.webp"):
                with self.subTest(order=order, target=target):
                    kept, data = self.exif_of(self.apply(target))
                    self.assertEqual(kept[0x010F], "Camera of a test")
                    self.assertEqual(kept[0x0112], 1)
                    details = kept.get_ifd(0x8769)
                    self.assertEqual((details[0xA002], details[0xA003]), (30, 40))
                    self.assertEqual(kept.get_ifd(0x8825)[2], (53.0, 33.0, 777.0))
                    self.assertNotIn(b"THUMBNAIL", data)

    def test_heif_and_avif_keep_exif_and_xmp(self):
        for suffix in ("avif", "heic"):
            kept, _ = self.exif_of(self.apply("back.jpg", source=self.apply(f"out.{suffix}")))
            self.assertEqual((kept[0x010F], kept[0x0112]), ("Camera of a test", 1))
            self.assertIn(b"Harbor", (self.folder / "back.jpg").read_bytes())

    def test_xmp_and_iptc_are_kept(self):
        for target in ("out.jpg", "out.tif", "out.png"):
            path = self.apply("back.jpg", source=self.apply(target))
            file = path.read_bytes()
            self.assertIn(b'dc:title="Harbor"', file)
            self.assertIn(b'tiff:Orientation="1"', file)
            self.assertNotIn(b"PixelXDimension", file)
            with Image.open(path) as image:
                self.assertEqual(IptcImagePlugin.getiptcinfo(image)[(2, 90)], b"Hamburg")

    def test_strip_drops_everything(self):
        for target in ("out.jpg", "out.png", "out.webp", "out.tif"):
            file = self.apply(target, "--strip").read_bytes()
            for text in (b"Camera of", b"Harbor", b"Exif", b"xmpmeta", b"Hamburg"):
                self.assertNotIn(text, file)

    def test_strip_gps_drops_the_location_only(self):
        for order in "<>":
            self.source.write_bytes(with_metadata(self.plain, order))
            for target in ("out.jpg", "out.png", "out.webp", "out.heic"):
                with self.subTest(order=order, target=target):
                    path = self.apply("back.jpg", source=self.apply(target, "--strip=gps"))
                    kept, data = self.exif_of(path)
                    self.assertEqual((kept[0x010F], kept[0x9003]), ("Camera of a test", "x"))
                    self.assertNotIn(0x8825, kept)
                    self.assertNotIn(struct.pack(order + "I", 777), data)
                    file = path.read_bytes()
                    self.assertIn(b"<dc:creator>Grace</dc:creator>", file)
                    for text in (b"GPS", b"Hamburg", b"Germany", b"53,33", b"9,59", b"LocationShown"):
                        self.assertNotIn(text, file)
        with Image.open(self.apply("out.jpg", "--strip=gps")) as image:
            self.assertEqual(IptcImagePlugin.getiptcinfo(image), {(2, 5): b"Harbor", (2, 116): b"Free"})

    def test_data_that_is_not_understood_is_dropped(self):
        broken = self.source.read_bytes().replace(exif("<")[:8], b"II*\0\xff\xff\0\0")
        broken = broken.replace(b"exif:GPSLatitude=\"", b"exif:GPSLatitude  \"").replace(b'"?>', b'"?>\0')
        self.source.write_bytes(broken)
        file = self.apply("out.jpg", "--strip=gps").read_bytes()
        for text in (b"Camera of", b"xmpmeta", b"53,33"):
            self.assertNotIn(text, file)

    def test_tables_that_overlap_are_dropped(self):
        whole = exif("<")
        location = whole[260:]
        entry = struct.pack("<HHII", 2, 5, 2000, 8)  # longer than the block
        broken = whole[:260] + location[:14] + entry + location[26:]
        self.source.write_bytes(self.source.read_bytes().replace(whole, broken))
        self.assertNotIn(b"Camera of a test", self.apply("out.jpg", "--strip=gps").read_bytes())
        self.assertIn(b"Camera of a test", self.apply("out.jpg").read_bytes())

    def test_all_orientations_make_the_picture_upright(self):
        colors = Image.new("RGB", (32, 16), (255, 0, 0))
        colors.paste((0, 0, 255), (16, 0, 32, 16))
        colors.paste((0, 255, 0), (0, 8, 16, 16))
        turns = {2: [0], 3: [3], 4: [1], 5: [5], 6: [4], 7: [6], 8: [2]}
        for orientation in range(1, 9):
            colors.save(self.source, quality=100, subsampling=0)
            jpeg = self.source.read_bytes()
            self.source.write_bytes(jpeg[:2] + segment(0xE1, b"Exif\0\0" + exif(">", orientation)) + jpeg[2:])
            expected = colors
            for turn in turns.get(orientation, []):
                expected = expected.transpose(turn)
            with Image.open(self.apply("out.png")) as image:
                self.assertEqual(image.size, expected.size)
                pairs = zip(image.convert("RGB").tobytes(), expected.tobytes())
                self.assertLess(max(abs(a - b) for a, b in pairs), 60, orientation)
                self.assertEqual(image.getexif()[0x0112], 1)

    def test_scripts_save_like_a_source(self):
        script = self.folder / "save.lua"
        script.write_text(
            """local source = CIImageQOR.Open(arg[1])
            source:Crop(CIVectorQOR.Rectangle(0, 0, 10, 10)):SaveLike(arg[2], source, "quality=50; strip=gps")
            source:SaveLike(arg[3], nil, "")
            print(pcall(source.SaveLike, source, arg[3], source, "quality=x"))"""
        )
        printed = self.assert_works("run", script, self.source, "like.jpg", "unlike.jpg")
        self.assertIn("--quality: got 'x', expected a whole number from 0 to 100; nothing was written", printed)
        with Image.open(self.folder / "like.jpg") as image:
            self.assertEqual((image.size, image.getexif()[0x010F]), ((10, 10), "Camera of a test"))
        with Image.open(self.folder / "unlike.jpg") as image:
            self.assertEqual(dict(image.getexif()), {})

    def test_many_pictures_keep_their_own_data(self):
        (self.folder / "other.png").write_bytes(png(4, 4))
        self.assert_works("apply", SAME, self.source, "other.png", "-o", "folder", "--strip=gps")
        self.assertIn(b"Camera of a test", (self.folder / "folder/in.jpg").read_bytes())
        self.assertNotIn(b"eXIf", (self.folder / "folder/other.png").read_bytes())


if __name__ == "__main__":
    unittest.main()
