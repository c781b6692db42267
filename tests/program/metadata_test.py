"""The data about a picture: what of Exif, XMP and IPTC a result keeps, and in which form."""

import hashlib
import struct
import unittest
import xml.etree.ElementTree
import zlib

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


CAMERA, NOTE, THUMBNAIL = b"Camera of a test\0", b"ASCII\0\0\0a comment", b"\xff\xd8THUMBNAIL\xff\xd9"


def pack_table(order, place, entries, large=False):
    """A table at a place, the values that do not fit into its entries, and the tables that are values. An entry is a
    tag, a type, a count, and bytes or the entries of another table."""
    count, word = order + ("Q" if large else "H"), order + ("Q" if large else "I")
    size = struct.calcsize(word)
    end = place + struct.calcsize(count) + (4 + 2 * size) * len(entries) + size
    packed, values = struct.pack(count, len(entries)), b""
    for tag, kind, number, value in entries:
        at = end + len(values)
        if isinstance(value, list):
            value, kind = pack_table(order, at, value, large), 18 if large else kind
        if kind == 18 or kind == 4 and tag in (0x8769, 0x8825, 0xA005) or len(value) > size:
            value, values = struct.pack(word, at), values + value + b"\0" * (len(value) % 2)
        packed += struct.pack(order + "HH", tag, kind) + struct.pack(word, number) + value.ljust(size, b"\0")
    return packed + bytes(size) + values


def descriptions(order, orientation=6):
    """An orientation, the name of a camera, sizes and details of an exposure, and a location, for a table."""

    def numbers(form, *values):
        return struct.pack(order + form, *values)

    details = [
        (0x9204, 10, 1, numbers("2i", -1, 3)),
        (0x9214, 3, 3, numbers("3H", 5, 6, 7)),
        (0x9286, 7, len(NOTE), NOTE),
        (0xA002, 4, 1, numbers("I", 40)),
        (0xA003, 3, 1, numbers("H", 30)),
        (0xA005, 4, 1, [(1, 2, 4, b"R98\0")]),
    ]
    location = [(1, 2, 2, b"N\0"), (2, 5, 3, numbers("6I", 53, 1, 33, 1, 777, 1))]
    return [
        (0x010F, 2, len(CAMERA), CAMERA),
        (0x0112, 3, 1, numbers("H", orientation)),
        (0x8769, 4, 1, details),
        (0x8825, 4, 1, location),
        (0x9003, 2, 2, b"x\0"),
    ]


def exif(order, orientation=6):
    """An Exif block with these descriptions and a thumbnail."""
    entries = descriptions(order, orientation)
    main = pack_table(order, 8, entries)
    small_at, link = 8 + len(main), 2 + 12 * len(entries)
    main = main[:link] + struct.pack(order + "I", small_at) + main[link + 4 :]
    place, length = struct.pack(order + "I", small_at + 30), struct.pack(order + "I", len(THUMBNAIL))
    small = pack_table(order, small_at, [(0x0201, 4, 1, place), (0x0202, 4, 1, length)])
    return {"<": b"II", ">": b"MM"}[order] + struct.pack(order + "HI", 42, 8) + main + small + THUMBNAIL


def tiff(order, large=False):
    """A TIFF file of 40 x 30 pixels with these descriptions, XMP, IPTC, and a table that belongs to its pixels only."""
    pixels, iptc = bytes((200, 100, 50)) * 1200, IPTC.ljust((len(IPTC) + 3) // 4 * 4, b"\0")
    start = 16 if large else 8

    def short(tag, *values):
        return (tag, 3, len(values), struct.pack(f"{order}{len(values)}H", *values))

    storage = [
        short(256, 40),
        short(257, 30),
        short(258, 8, 8, 8),
        short(259, 1),
        short(262, 2),
        (273, 4, 1, struct.pack(order + "I", start)),
        short(277, 3),
        short(278, 30),
        (279, 4, 1, struct.pack(order + "I", len(pixels))),
        (700, 1, len(XMP), XMP),
        (33723, 4, len(iptc) // 4, iptc),  # many programs call the bytes of IPTC numbers
        (34735, 2, 12, b"a projection"),
    ]
    table_at = start + len(pixels)
    main = pack_table(order, table_at, sorted(storage + descriptions(order)), large)
    numbers = struct.pack(order + "HHHQ", 43, 8, 0, table_at) if large else struct.pack(order + "HI", 42, table_at)
    return {"<": b"II", ">": b"MM"}[order] + numbers + pixels + main


def segment(marker, content):
    return struct.pack(">BBH", 0xFF, marker, len(content) + 2) + content


def packet(properties, declarations=b""):
    return (
        b'<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"'
        + declarations + b">" + properties + b"</rdf:RDF></x:xmpmeta>"
    )


def parts(name, extension, size=60000):
    """The segments of an extension of XMP."""
    return [
        segment(
            0xE1,
            b"http://ns.adobe.com/xmp/extension/\0" + name + struct.pack(">II", len(extension), at)
            + extension[at : at + size],
        )
        for at in range(0, len(extension), size)
    ]


def extended_xmp_of(jpeg):
    """The packet of a JPEG and its extension, whose name has to be its digest."""
    head, main, extension, at = b"http://ns.adobe.com/xmp/extension/\0", b"", b"", 2
    while jpeg[at + 1] != 0xDA:
        (size,) = struct.unpack_from(">H", jpeg, at + 2)
        content = jpeg[at + 4 : at + 2 + size]
        if content.startswith(b"http://ns.adobe.com/xap/1.0/\0"):
            main = content[29:]
        if content.startswith(head):
            name, (whole, place) = content[35:67], struct.unpack_from(">II", content, 67)
            assert place == len(extension) and name in main
            extension += content[75:]
            is_complete = len(extension) == whole
        at += 2 + size
    if extension:
        assert is_complete and hashlib.md5(extension).hexdigest().upper().encode() == name
    return main, extension


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
        """The tables of a result: the first one, the details, the location, and the one that the details refer to."""
        with Image.open(path) as image:
            self.assertEqual(image.size, (30, 40), path)
            kept = image.getexif()
            details, location = kept.get_ifd(0x8769), kept.get_ifd(0x8825)
            return dict(kept), dict(details), dict(location), dict(kept.get_ifd(0xA005)) if 0xA005 in details else {}

    def sources(self):
        """Makes the source a JPEG and a TIFF in both orders of bytes, one after the other."""
        for order in "<>":
            for source in (with_metadata(self.plain, order), tiff(order)):
                self.source.write_bytes(source)
                yield order, source[:2]

    def assert_kept(self, path):
        main, details, location, interoperability = self.exif_of(path)
        self.assertEqual((main[0x010F], main.get(0x0112, 1), main[0x9003]), ("Camera of a test", 1, "x"))
        self.assertEqual((details[0xA002], details[0xA003]), (30, 40))
        self.assertEqual((float(details[0x9204]), details[0x9214], details[0x9286]), (-1 / 3, (5, 6, 7), NOTE))
        self.assertEqual(location, {1: "N", 2: (53.0, 33.0, 777.0)})
        self.assertEqual(interoperability, {1: "R98"})
        for text in (b"THUMBNAIL", b"a projection"):
            self.assertNotIn(text, path.read_bytes())

    def test_exif_is_kept_with_the_orientation_applied_and_reset(self):
        for order, kind in self.sources():
            for target in ("out.jpg", "out.png", "out.webp", "out.tif"):
                with self.subTest(order=order, kind=kind, target=target):
                    self.assert_kept(self.apply(target))

    def test_exif_is_kept_on_the_way_through_tiff(self):
        for order in "<>":
            self.source.write_bytes(with_metadata(self.plain, order))
            self.assert_kept(self.apply("back.jpg", source=self.apply("out.tif", "--compression", "small")))
            self.source.write_bytes(tiff(order, large=True))
            self.assert_kept(self.apply("out.jpg"))

    def test_heif_and_avif_keep_exif_and_xmp(self):
        for suffix in ("avif", "heic"):
            main, *_ = self.exif_of(self.apply("back.jpg", source=self.apply(f"out.{suffix}")))
            self.assertEqual((main[0x010F], main[0x0112]), ("Camera of a test", 1))
            self.assertIn(b"Harbor", (self.folder / "back.jpg").read_bytes())

    def test_xmp_and_iptc_are_kept(self):
        (self.folder / "in.tif").write_bytes(tiff(">"))
        for target in ("out.jpg", "out.tif", "out.png", "in.tif"):
            path = self.apply("back.jpg", source=target if target == "in.tif" else self.apply(target))
            file = path.read_bytes()
            self.assertIn(b'dc:title="Harbor"', file)
            self.assertIn(b'tiff:Orientation="1"', file)
            self.assertNotIn(b"PixelXDimension", file)
            with Image.open(path) as image:
                self.assertEqual(IptcImagePlugin.getiptcinfo(image)[(2, 90)], b"Hamburg")

    def test_xmp_that_is_too_long_for_a_segment_is_kept_in_an_extension(self):
        # 65504 bytes fit beside the name of the segment.
        for length, is_extended in ((65504, False), (65505, True), (300000, True)):
            with self.subTest(length=length):
                start = b"<?xpacket begin=''?>"
                ends = packet(b'<rdf:Description a:note="|"/>', b' xmlns:a="urn:a"'), b"<?xpacket end='w'?>"
                note = b"n" * (length - len(start) - sum(map(len, ends)) + 1)
                xmp = start + ends[0].replace(b"|", note) + ends[1]
                self.assertEqual(len(xmp), length)
                Image.new("RGB", (4, 3)).save(self.folder / "long.webp", xmp=xmp)
                main, extension = extended_xmp_of(self.apply("out.jpg", source="long.webp").read_bytes())
                self.assertEqual((b"HasExtendedXMP" in main, note in main), (is_extended, not is_extended))
                self.assertEqual(extension, ends[0].replace(b"|", note) if is_extended else b"")
                # The way back joins them.
                with Image.open(self.apply("back.webp", source="out.jpg")) as image:
                    joined = image.info["xmp"]
                self.assertIn(b'a:note="' + note + b'"', joined)
                self.assertIn(b'xmlns:a="urn:a"', joined)
                self.assertNotIn(b"HasExtendedXMP", joined)
                xml.etree.ElementTree.fromstring(joined[joined.index(b"<x:") :].partition(b"<?")[0])

    def test_an_extension_of_xmp_is_joined_unless_a_part_is_missing(self):
        name = b"0123456789ABCDEF" * 2
        main = packet(b"<rdf:Description dc:title='Harbor' xmpNote:HasExtendedXMP='" + name + b"'/>")
        long = b"l" * 150000
        extension = packet(b"<rdf:Description a:note='" + long + b"' exif:GPSLatitude='53,33.1N'/>")
        pieces = parts(name, extension)
        crowded = packet(b"<rdf:Description a:note='" + long + b"'/>", b' xmlns:a="urn:a"' * 5000)
        # Its length and its place are at 71 and 75.
        far = pieces[1][:75] + b"\xff" + pieces[1][76:]
        behind = pieces[1][:75] + struct.pack(">I", len(extension) - 1) + pieces[1][79:]
        cases = {
            "in order": (pieces, True),
            "in another order": (pieces[::-1], True),
            "with those of another name": (parts(b"F" * 32, extension) + pieces, True),
            "missing": (pieces[1:], False),
            "twice": ([*pieces, pieces[0]], False),
            "far away": ([pieces[0], far, pieces[2]], False),
            "behind the end": ([pieces[0], behind, pieces[2]], False),
            "with thousands of declarations": (parts(name, crowded), False),
            "none": ([], False),
        }
        for case, (segments, is_joined) in cases.items():
            with self.subTest(case):
                first = segment(0xE1, b"http://ns.adobe.com/xap/1.0/\0" + main)
                self.source.write_bytes(self.plain[:2] + b"".join([first, *segments]) + self.plain[2:])
                with Image.open(self.apply("out.webp", "--strip=gps")) as image:
                    xmp = image.info["xmp"]
                self.assertIn(b"dc:title='Harbor'", xmp)
                self.assertEqual(long in xmp, is_joined)
                for text in (b"HasExtendedXMP", b"53,33"):
                    self.assertNotIn(text, xmp)

    def test_raw_profiles_in_texts_of_a_png_are_kept(self):
        def chunk(kind, data):
            return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

        def text(name, content, is_compressed):
            digits = f"\n{name}\n{len(content):8}\n{content.hex()}\n".encode()
            keyword = b"Raw profile type " + name.encode() + b"\0"
            if is_compressed:
                return chunk(b"zTXt", keyword + b"\0" + zlib.compress(digits))
            return chunk(b"tEXt", keyword + digits)

        photo = png(40, 30)
        for is_compressed in (False, True):
            for names, xmp in ((("exif", "xmp"), XMP), (("APP1", "APP1"), b"http://ns.adobe.com/xap/1.0/\0" + XMP)):
                with self.subTest(is_compressed=is_compressed, names=names):
                    profiles = zip(names, (b"Exif\0\0" + exif(">"), xmp))
                    texts = b"".join(text(name, profile, is_compressed) for name, profile in profiles)
                    (self.folder / "raw.png").write_bytes(photo[:33] + texts + photo[33:])
                    target = self.apply("out.jpg", source="raw.png")
                    self.assertEqual(self.exif_of(target)[0][0x010F], "Camera of a test")
                    self.assertIn(b'dc:title="Harbor"', target.read_bytes())

    def test_strip_drops_everything(self):
        for target in ("out.jpg", "out.png", "out.webp", "out.tif"):
            file = self.apply(target, "--strip").read_bytes()
            for text in (b"Camera of", b"Harbor", b"Exif", b"xmpmeta", b"Hamburg"):
                self.assertNotIn(text, file)

    def test_strip_gps_drops_the_location_only(self):
        for order, kind in self.sources():
            others = ("out.png", "out.webp", "out.heic") if kind == self.plain[:2] else ()
            for target in ("out.jpg", "out.tif", *others):
                with self.subTest(order=order, kind=kind, target=target):
                    path = self.apply(target, "--strip=gps")
                    whole = path.read_bytes()
                    for number in (struct.pack(sign + "4I", 33, 1, 777, 1) for sign in "<>"):
                        self.assertNotIn(number, whole)
                    path = path if target == "out.jpg" else self.apply("back.jpg", source=path)
                    main, details, location, _ = self.exif_of(path)
                    self.assertEqual((main[0x010F], main[0x9003]), ("Camera of a test", "x"))
                    self.assertEqual((details[0xA002], location), (30, {}))
                    self.assertNotIn(0x8825, main)
                    file = path.read_bytes()
                    self.assertIn(b"<dc:creator>Grace</dc:creator>", file)
                    for text in (b"GPS", b"Hamburg", b"Germany", b"53,33", b"9,59", b"LocationShown"):
                        self.assertNotIn(text, file)
        self.source.write_bytes(with_metadata(self.plain, "<"))
        with Image.open(self.apply("out.jpg", "--strip=gps")) as image:
            self.assertEqual(IptcImagePlugin.getiptcinfo(image), {(2, 5): b"Harbor", (2, 116): b"Free"})

    def test_strip_gps_drops_the_locations_of_drones_and_maps(self):
        xmp = (
            b'<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF><rdf:Description xmlns:gps="map" dc:title="Harbor"'
            b' drone:GpsLatitude="53.551" drone:AbsoluteAltitude="+520.3" gps:long="9.993"><geo:lat>53.552</geo:lat>'
            b"<gps:kind>kept</gps:kind></rdf:Description></rdf:RDF></x:xmpmeta>"
        )
        content = b"http://ns.adobe.com/xap/1.0/\0" + xmp
        self.source.write_bytes(self.plain[:2] + segment(0xE1, content) + self.plain[2:])
        file = self.apply("out.jpg", "--strip=gps").read_bytes()
        for text in (b"53.55", b"520.3", b"9.993"):
            self.assertNotIn(text, file)
        for text in (b'xmlns:gps="map"', b'dc:title="Harbor"', b"<gps:kind>kept</gps:kind>"):
            self.assertIn(text, file)

    def test_data_that_is_not_understood_is_dropped(self):
        broken = self.source.read_bytes().replace(exif("<")[:8], b"II*\0\xff\xff\0\0")
        broken = broken.replace(b"exif:GPSLatitude=\"", b"exif:GPSLatitude  \"").replace(b'"?>', b'"?>\0')
        self.source.write_bytes(broken)
        file = self.apply("out.jpg", "--strip=gps").read_bytes()
        for text in (b"Camera of", b"xmpmeta", b"53,33"):
            self.assertNotIn(text, file)

    def test_tables_that_overlap_are_dropped(self):
        entry = struct.pack("<HHI", 2, 5, 3)
        broken = self.source.read_bytes().replace(entry, entry[:4] + struct.pack("<I", 2000))  # longer than the block
        self.source.write_bytes(broken)
        self.assertNotIn(b"Camera of a test", self.apply("out.jpg", "--strip=gps").read_bytes())
        self.assertIn(b"Camera of a test", self.apply("out.jpg").read_bytes())

    def test_thumbnails_are_dropped_wherever_they_are(self):
        block = exif("<")
        main = block[: -len(THUMBNAIL) - 30]
        link = 10 + 12 * struct.unpack_from("<H", main, 8)[0]
        moved = struct.pack("<I", len(main) + len(THUMBNAIL) + 1)
        place, length = struct.pack("<I", len(main)), struct.pack("<I", len(THUMBNAIL))
        file = [(0x0201, 4, 1, place), (0x0202, 4, 1, length)]
        places, lengths = struct.pack("<2I", len(main), len(main) + 9), struct.pack("<2H", 9, 4)
        strips = [(0x0111, 4, 2, places), (0x0117, 3, 2, lengths)]
        for name, listed in (("before its table", file), ("in strips", strips)):
            with self.subTest(name):
                small = pack_table("<", len(main) + len(THUMBNAIL) + 1, listed)
                changed = main[:link] + moved + main[link + 4 :] + THUMBNAIL + b"\0" + small
                jpeg = self.plain[:2] + segment(0xE1, b"Exif\0\0" + changed) + self.plain[2:]
                self.source.write_bytes(jpeg)
                result = self.apply("out.jpg").read_bytes()
                self.assertIn(b"Camera of a test", result)
                for part in (b"\xff\xd8THUMB", b"NAIL"):
                    self.assertNotIn(part, result)

    def test_a_thumbnail_over_other_tables_is_dropped_with_them(self):
        small = struct.pack("<HHI", 0x0201, 4, 1)
        head, tail = self.source.read_bytes().split(small)
        self.source.write_bytes(head + small + struct.pack("<I", 8) + tail[4:])
        self.assertNotIn(b"Camera of a test", self.apply("out.jpg").read_bytes())

    def test_a_location_in_the_first_table_is_dropped_with_it(self):
        head, tail = self.source.read_bytes().split(struct.pack("<HHI", 0x8825, 4, 1))
        self.source.write_bytes(head + struct.pack("<HHII", 0x8825, 4, 1, 8) + tail[4:])
        self.assertNotIn(b"Camera of a test", self.apply("out.jpg", "--strip=gps").read_bytes())

    def test_damaged_tables_of_a_tiff_are_left_out(self):
        whole = tiff("<")
        first = struct.unpack("<I", whole[4:8])[0]
        details_entry, location_entry = struct.pack("<HHI", 0x8769, 4, 1), struct.pack("<HHI", 0x8825, 4, 1)
        details = struct.unpack("<I", whole.split(details_entry)[1][:4])[0]
        comment_entry = struct.pack("<HH", 0x9286, 7)
        at_details, at_location = whole.index(details_entry) + 8, whole.index(location_entry) + 8
        at_comment, many = whole.index(comment_entry), b"\xff\xff\xff\xff"
        every, both = {0x9204, 0x9214, 0x9286, 0xA002, 0xA003, 0xA005}, {1, 2}
        kept = {"details": (set(), both), "comment": (every - {0x9286}, both), "location": (every, set())}
        for name, at, value, part in (
            ("a loop", at_details, struct.pack("<I", first), "details"),
            ("a table outside", at_details, many, "details"),
            ("a table at the end", at_details, struct.pack("<I", len(whole) - 1), "details"),
            ("many entries", details, many[:2], "details"),
            ("many values", at_comment + 4, many, "comment"),
            ("values outside", at_comment + 8, many, "comment"),
            ("an unknown type", at_comment + 2, b"\x63\0", "comment"),
            ("a location outside", at_location, many, "location"),
        ):
            self.source.write_bytes(whole[:at] + value + whole[at + len(value) :])
            with self.subTest(name=name):
                main, read, location, _ = self.exif_of(self.apply("out.jpg"))
                self.assertEqual(main[0x010F], "Camera of a test")
                self.assertEqual((set(read), set(location)), kept[part])

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
