"""The formats of pictures: what is written is read back here by Pillow, or by a decoder of this file, and the other way
round."""

import io
import random
import struct
import unittest
import zlib

from PIL import Image, ImageChops, ImageCms

from zeva_program import ZevaTest, messages

# The formats without losses, and what selects that.
LOSSLESS = {"png": (), "tiff": (), "webp": ("--lossless",)}
READABLE = "PNG, JPEG, WebP, TIFF, AVIF or HEIF"

# A filter that changes nothing.
SAME = "ColorControls"


def noise(mode, size=(23, 17), seed=1):
    """A picture of random pixels, opaque where the mode has alpha."""
    generator = random.Random(seed)
    image = Image.frombytes(mode, size, generator.randbytes(size[0] * size[1] * len(mode)))
    if mode[-1] == "A":
        image.putalpha(255)
    return image


def translucent(size=(51, 50)):
    """A picture of random colors with every alpha but 0, where colors are not kept."""
    image = noise("RGBA", size)
    image.putalpha(Image.frombytes("L", size, bytes(1 + i % 255 for i in range(size[0] * size[1]))))
    return image


def smooth(mode, size=(64, 48)):
    """A picture that formats with losses keep well."""
    return Image.merge(
        mode, [Image.linear_gradient("L").resize(size).rotate(90 * i).resize(size) for i in range(len(mode))]
    )


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(width, height, depth, color_type, rows, chunks=(), interlaced=0, data=None):
    """The bytes of a PNG file of packed rows, or of data that is filtered already."""
    header = struct.pack(">IIBBBBB", width, height, depth, color_type, 0, 0, interlaced)
    data = data or b"".join(b"\0" + row for row in rows)
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + b"".join(chunk(*one) for one in chunks)
        + chunk(b"IDAT", zlib.compress(data))
        + chunk(b"IEND", b"")
    )


def predicted(kind, line, above, i, step):
    """What a filter of PNG subtracts from a byte of a row."""
    left, up, corner = (line[i - step] if i >= step else 0), above[i], (above[i - step] if i >= step else 0)
    guess = left + up - corner
    paeth = min((abs(guess - left), 0, left), (abs(guess - up), 1, up), (abs(guess - corner), 2, corner))[2]
    return (0, left, up, (left + up) // 2, paeth)[kind]


def filtered(rows, step, first):
    """The data of a PNG's rows, each with the filter behind that of the row before it."""
    above, data = bytes(len(rows[0])), b""
    for y, row in enumerate(rows):
        kind = (first + y) % 5
        data += bytes([kind, *((row[i] - predicted(kind, row, above, i, step)) & 255 for i in range(len(row)))])
        above = row
    return data


def unfiltered(data, height, stride, step):
    """The rows of a PNG's data."""
    above, rows = bytes(stride), []
    for y in range(height):
        kind, line = data[y * (stride + 1)], bytearray(data[y * (stride + 1) + 1 : (y + 1) * (stride + 1)])
        for i in range(stride):
            line[i] = (line[i] + predicted(kind, line, above, i, step)) & 255
        rows.append(bytes(line))
        above = line
    return rows


# The passes of an interlaced PNG: the first column and row, and the steps to the next ones.
PASSES = ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2))


def bits_packed(pixels, bits):
    """A row of pixels, each a number of so many bits."""
    text = "".join(f"{pixel:0{bits}b}" for pixel in pixels)
    size = (len(text) + 7) // 8
    return int(text.ljust(8 * size, "0"), 2).to_bytes(size, "big")


def png_parts(path):
    """The header of a PNG file, its filtered rows in one piece, and the contents of its other chunks."""
    file, at, data, others = path.read_bytes(), 8, b"", {}
    while at < len(file):
        length, kind = struct.unpack(">I4s", file[at : at + 8])
        content = file[at + 8 : at + 8 + length]
        assert zlib.crc32(kind + content) == struct.unpack(">I", file[at + 8 + length : at + 12 + length])[0]
        if kind == b"IHDR":
            header = struct.unpack(">IIBB", content[:10])
        elif kind == b"IDAT":
            data += content
        else:
            others[kind] = content
        at += 12 + length
    return header, zlib.decompress(data), others


def read_png(path):
    """The header and the rows of a PNG file, as they are stored, and the contents of its other chunks."""
    (width, height, depth, color_type), data, others = png_parts(path)
    step = {0: 1, 2: 3, 4: 2, 6: 4}[color_type] * depth // 8
    return (width, height, depth, color_type), unfiltered(data, height, width * step, step), others


def read_tiff(path):
    """The samples of a little-endian TIFF file with deflate, as bytes, and its tags."""
    file = path.read_bytes()
    table = struct.unpack("<I", file[4:8])[0]
    tags = {}
    for i in range(struct.unpack("<H", file[table : table + 2])[0]):
        tag, kind, count = struct.unpack("<HHI", file[table + 2 + 12 * i : table + 10 + 12 * i])
        size = {1: 1, 3: 2, 4: 4, 7: 1}.get(kind, 0)
        place = table + 10 + 12 * i
        if size * count > 4:
            place = struct.unpack("<I", file[place : place + 4])[0]
        letter = {1: "B", 3: "H", 4: "I", 7: "B"}.get(kind)
        if letter:
            tags[tag] = struct.unpack(f"<{count}{letter}", file[place : place + size * count])
    assert tags[259] == (8,), tags[259]
    data = b"".join(zlib.decompress(file[at : at + size]) for at, size in zip(tags[273], tags[279]))
    return data, tags


class FormatsTest(ZevaTest):
    def apply(self, source, target, *options):
        self.assert_works("apply", SAME, source, "-o", target, *options)
        return self.folder / target

    def refusal(self, source, status, *options):
        """Expects a failure of one line, and returns it without the name of the picture."""
        self.out.unlink(missing_ok=True)
        result = self.zeva("apply", SAME, source, "-o", self.out, *options)
        self.assertEqual((result.returncode, len(messages(result.stderr))), (status, 1), result.stderr)
        self.assertFalse(self.out.exists())
        return messages(result.stderr)[0].removeprefix(f"zeva: {source}: ")

    def test_formats_without_losses_keep_every_pixel(self):
        for picture in (noise("L"), noise("RGB"), translucent()):
            mode = "RGBA" if picture.mode == "RGBA" else "RGB"
            for source, save in {"in.png": {}, "in.tiff": {}, "in.webp": {"lossless": True}}.items():
                picture.save(self.folder / source, **save)
                for suffix, options in LOSSLESS.items():
                    for compression in ("fast", "balanced", "small") if source == f"in.{suffix}" else ("fast",):
                        with self.subTest(mode=picture.mode, source=source, target=suffix, compression=compression):
                            path = self.apply(source, f"out.{suffix}", *options, "--compression", compression)
                            with Image.open(path) as written:
                                self.assertEqual(written.format, {"png": "PNG", "tiff": "TIFF", "webp": "WEBP"}[suffix])
                                self.assertEqual(written.convert(mode).tobytes(), picture.convert(mode).tobytes())

    def test_low_alpha_keeps_its_colors_in_large_pictures(self):
        picture = translucent((2100, 2000))
        picture.save(self.folder / "in.png")
        with Image.open(self.apply("in.png", "out.png")) as written:
            self.assertEqual(written.tobytes(), picture.tobytes())

    def test_sixteen_bits_are_kept_from_file_to_file(self):
        width, height = 19, 13
        rows = [random.Random(y).randbytes(width * 8) for y in range(height)]
        self.photo.write_bytes(png(width, height, 16, 6, rows))
        for compression in ("fast", "balanced", "small"):
            header, written, _ = read_png(self.apply(self.photo, "out.png", "--compression", compression))
            self.assertEqual((header, written), ((width, height, 16, 6), rows))
        # A TIFF has the bytes in the other order, and each pixel as the difference to the one on its left.
        data, tags = read_tiff(self.apply(self.photo, "out.tif", "--compression", "balanced"))
        self.assertEqual((tags[258], tags[338]), ((16,) * 4, (2,)))
        differences, read = struct.unpack(f"<{len(data) // 2}H", data), []
        for i, difference in enumerate(differences):
            read.append((difference + (read[i - 4] if i % (4 * width) >= 4 else 0)) & 65535)
        self.assertEqual(struct.pack(f">{len(read)}H", *read), b"".join(rows))
        self.assertEqual(read_png(self.apply("out.tif", "again.png"))[1], rows)

    def test_the_depth_follows_the_input_unless_it_is_given(self):
        self.photo.write_bytes(png(1, 1, 16, 2, [b"\x12\x34\x56\x78\x9a\xbc"]))
        noise("RGB").save(self.folder / "eight.png")
        for source, options, depth in (
            (self.photo, (), 16),
            (self.photo, ("--depth", "8"), 8),
            ("eight.png", (), 8),
            ("eight.png", ("--depth", "16"), 16),
        ):
            self.assertEqual(read_png(self.apply(source, "out.png", *options))[0][2], depth)
        self.apply(self.photo, "out.jpg")
        self.assert_works("apply", SAME, self.photo, "-o", "float.tif", "--depth", "32", "--compression", "balanced")
        self.assertEqual(read_tiff(self.folder / "float.tif")[1][258], (32, 32, 32))
        back = read_png(self.apply("float.tif", "back.png", "--depth", "16"))[1]
        self.assertEqual(back, [b"\x12\x34\x56\x78\x9a\xbc"])
        self.assertEqual(read_tiff(self.apply("float.tif", "again.tif", "--compression", "balanced"))[1][339], (3,) * 3)

    def test_jpeg_options_change_the_file(self):
        smooth("RGB", (200, 120)).save(self.folder / "in.png")
        sizes = {}
        for name, options, layers in (
            ("plain", (), 2),
            ("full", ("--subsampling", "444"), 1),
            ("half", ("--subsampling", "422"), 2),
            ("progressive", ("--progressive",), 2),
            ("coarse", ("--quality", "20"), 2),
        ):
            path = self.apply("in.png", f"{name}.jpg", *options)
            sizes[name] = path.stat().st_size
            with Image.open(path) as image:
                image.load()
                self.assertEqual(image.layer[0][1], layers)
                self.assertEqual(image.layer[0][2], 2 if name in ("plain", "progressive", "coarse") else 1)
                self.assertEqual("progressive" in image.info, name == "progressive")
                difference = max(abs(a - b) for a, b in zip(image.tobytes(), smooth("RGB", (200, 120)).tobytes()))
                self.assertLess(difference, 60)
        self.assertLess(sizes["coarse"], sizes["plain"])

    def test_gray_stays_gray(self):
        smooth("L").save(self.folder / "in.jpg", quality=95)
        for target in ("out.jpg", "out.png", "out.tif"):
            with Image.open(self.apply("in.jpg", target)) as image:
                self.assertEqual(image.mode, "L", target)

    def test_inks_become_colors(self):
        inks = smooth("CMYK")
        inks.save(self.folder / "in.jpg", quality=100)
        with Image.open(self.folder / "in.jpg") as image:
            expected = image.convert("RGB")
        with Image.open(self.apply("in.jpg", "out.png")) as image:
            difference = max(abs(a - b) for a, b in zip(image.convert("RGB").tobytes(), expected.tobytes()))
        self.assertLessEqual(difference, 2)

    def test_the_content_tells_the_format_and_not_the_name(self):
        picture = noise("RGB")
        for name, kind in (("png", "TIFF"), ("jpg", "PNG"), ("tif", "WEBP"), ("dat", "PNG")):
            picture.save(self.folder / f"in.{name}", kind, **({"lossless": True} if kind == "WEBP" else {}))
            with Image.open(self.apply(f"in.{name}", "out.png")) as image:
                self.assertEqual(image.convert("RGB").tobytes(), picture.tobytes())
        (self.folder / "text.png").write_bytes(b"GIF89a, or rather a text")
        self.assertEqual(self.refusal("text.png", 1), f"not a {READABLE} file; no image was opened")

    def test_every_kind_of_png_is_read_like_pillow_reads_it(self):
        width, height, generator = 11, 9, random.Random(3)
        palette = (b"PLTE", generator.randbytes(48))
        for color_type, depths in ((0, (1, 2, 4, 8, 16)), (2, (8, 16)), (3, (1, 2, 4)), (4, (8, 16)), (6, (8, 16))):
            samples = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[color_type]
            for depth in depths:
                stride = (width * samples * depth + 7) // 8
                rows = [generator.randbytes(stride) for _ in range(height)]
                extra = [palette] if color_type == 3 else []
                if color_type == 3:
                    extra.append((b"tRNS", b"\xff" * (1 << depth)))
                file = png(width, height, depth, color_type, rows, extra)
                self.photo.write_bytes(file)
                with self.subTest(color_type=color_type, depth=depth):
                    header, written, _ = read_png(self.apply(self.photo, "out.png"))
                    self.assertEqual(header[:3], (width, height, 16 if depth == 16 else 8))
                    if depth == 16 or color_type in (4, 6):
                        if depth == 16:
                            self.assertEqual(written, rows)
                        continue
                    with Image.open(self.folder / "out.png") as ours, Image.open(io.BytesIO(file)) as theirs:
                        self.assertEqual(ours.convert("RGB").tobytes(), theirs.convert("RGB").tobytes())

    def test_every_filter_of_png_is_read_in_every_kind(self):
        width, height, generator = 11, 10, random.Random(5)
        palette, same = [(b"PLTE", generator.randbytes(768))], {}
        for color_type, samples, depths in ((0, 1, (1, 2, 4, 8, 16)), (2, 3, (8, 16)), (3, 1, (1, 2, 4, 8)),
                                            (4, 2, (8, 16)), (6, 4, (8, 16))):
            for depth in depths:
                bits = samples * depth
                pixels = [[generator.getrandbits(bits) for _ in range(width)] for _ in range(height)]
                kind = (width, height, depth, color_type)
                chunks = palette if color_type == 3 else []
                rows, step = [bits_packed(row, bits) for row in pixels], max(1, bits // 8)
                plain = f"{color_type}-{depth}.png"
                (self.folder / plain).write_bytes(png(*kind, rows, chunks))
                parts = [[bits_packed(row[left::across], bits) for row in pixels[top::down]]
                         for left, top, across, down in PASSES]
                for first in range(5):
                    for interlaced, passes in ((0, [rows]), (1, parts)):
                        data = b"".join(filtered(part, step, first) for part in passes)
                        name = f"{color_type}-{depth}-{first}-{interlaced}.png"
                        (self.folder / name).write_bytes(png(*kind, None, chunks, interlaced, data))
                        same[name] = plain
        self.assert_works("apply", SAME, *same, *sorted(set(same.values())), "-o", "read")
        for name, plain in same.items():
            with self.subTest(name=name), Image.open(self.folder / plain) as theirs:
                written = (self.folder / "read" / name).read_bytes()
                self.assertTrue(written == (self.folder / "read" / plain).read_bytes())
                with Image.open(io.BytesIO(written)) as ours:
                    if theirs.mode in ("1", "L", "P", "RGB") and "-16" not in plain:
                        self.assertEqual(ours.convert("RGB").tobytes(), theirs.convert("RGB").tobytes())

    def test_filters_that_are_chosen_are_read_by_pillow(self):
        generator = random.Random(6)
        # Small numbers behind each filter, so that it is the one that suits its rows best.
        data = b"".join(bytes([y // 32, *(generator.randrange(-9, 10) & 255 for _ in range(64))]) for y in range(160))
        gray = Image.frombytes("L", (64, 160), b"".join(unfiltered(data, 160, 64, 1)))
        half = gray.point(lambda level: 128 + level // 2)
        others = [gray.transpose(0), gray.point(lambda level: level ^ 1)]
        for mode, channels in (("L", [gray]), ("LA", [gray, half]), ("RGB", [gray, *others]),
                               ("RGBA", [gray, *others, half])):
            picture = Image.merge(mode, channels)
            picture.save(self.folder / "in.png")
            for compression in ("fast", "balanced", "small"):
                with self.subTest(mode=mode, compression=compression):
                    path = self.apply("in.png", "out.png", "--compression", compression)
                    _, rows, _ = read_png(path)
                    with Image.open(path) as written:
                        self.assertEqual(written.mode, mode)
                        self.assertTrue(written.tobytes() == b"".join(rows))
                        extrema = ImageChops.difference(written.convert("RGBA"), picture.convert("RGBA")).getextrema()
                    # Colors are multiplied by alpha and divided again.
                    self.assertLessEqual(max(most for _, most in extrema), 1 if mode[-1] == "A" else 0)
                    used = set(png_parts(path)[1][:: len(rows[0]) + 1])
                    self.assertEqual(used, {4} if compression == "fast" else {0, 1, 2, 3, 4})

    def test_more_time_never_makes_a_png_larger(self):
        generator = random.Random(8)
        levels = list(Image.radial_gradient("L").getdata())
        colors = [tuple(generator.randbytes(3)) for _ in range(9)]
        pictures = {
            "rough": ("L", [level + generator.randrange(12) for level in levels]),
            "steps": ("L", [level + generator.randrange(40) & 0xE0 for level in levels]),
            "few colors": ("RGB", generator.choices(colors, k=len(levels))),
        }
        for name, (mode, pixels) in pictures.items():
            picture = Image.new(mode, (256, 256))
            picture.putdata(pixels)
            picture.save(self.folder / "in.png")
            sizes = []
            for compression in ("fast", "balanced", "small"):
                path = self.apply("in.png", "out.png", "--compression", compression)
                with Image.open(path) as written:
                    self.assertEqual(written.tobytes(), picture.tobytes())
                sizes.append(path.stat().st_size)
            with self.subTest(name):
                self.assertEqual(sizes, sorted(sizes, reverse=True))
                if name == "few colors":
                    # The colors themselves repeat more often than their differences.
                    self.assertLess(1.5 * sizes[2], sizes[1])

    def test_tiff_layouts_are_read_like_pillow_reads_them(self):
        for mode in ("1", "L", "P", "RGB", "RGBA", "CMYK", "YCbCr"):
            picture = noise("RGB", (40, 33)) if mode != "RGBA" else noise("RGBA", (40, 33))
            picture = picture.convert(mode)
            for compression in (None, "tiff_lzw", "tiff_adobe_deflate", "packbits") if mode == "RGB" else (None,):
                with self.subTest(mode=mode, compression=compression):
                    picture.save(self.folder / "in.tif", compression=compression)
                    with Image.open(self.apply("in.tif", "out.png")) as ours:
                        pairs = zip(ours.convert("RGB").tobytes(), picture.convert("RGB").tobytes())
                        self.assertLessEqual(max(abs(a - b) for a, b in pairs), 2 if mode in ("CMYK", "YCbCr") else 0)

    def test_a_tiff_that_declares_an_alpha_it_does_not_have_is_opaque(self):
        picture = noise("L", (40, 33))
        picture.save(self.folder / "in.tif", tiffinfo={338: 2})
        with Image.open(self.apply("in.tif", "out.png")) as ours:
            self.assertEqual((ours.mode, ours.tobytes()), ("L", picture.tobytes()))

    def test_large_tiffs_are_read_by_rows_like_pillow_reads_them(self):
        for mode, save in (("RGB", {"compression": "tiff_adobe_deflate"}), ("RGBA", {}), ("L", {"strip_size": 1 << 24}),
                           ("I;16", {"compression": "tiff_lzw"})):
            picture = noise("RGB", (700, 500)) if mode != "RGBA" else noise("RGBA", (700, 500))
            picture = picture.convert("L").convert("I") if mode == "I;16" else picture.convert(mode)
            picture = picture.resize((2100, 1500))
            if mode == "RGBA":
                picture.putalpha(picture.getchannel("R").point(lambda level: 255 - level // 2))
            if mode == "I;16":
                picture = picture.point(lambda level: level * 257).convert(mode)
            with self.subTest(mode=mode):
                picture.save(self.folder / "in.tif", **save)
                with Image.open(self.apply("in.tif", "out.tif", "--compression", "balanced")) as ours:
                    self.assertEqual(ours.mode, mode)
                    if mode == "RGBA":  # colors are multiplied by alpha and divided again
                        extrema = ImageChops.difference(ours, picture).getextrema()
                        self.assertLessEqual(max(most for _, most in extrema), 1)
                    else:
                        self.assertTrue(ours.tobytes() == picture.tobytes())  # a difference prints for minutes

    def test_a_large_tiff_that_ends_early_is_refused(self):
        noise("RGB", (700, 500)).resize((2100, 1500)).save(self.folder / "in.tif")
        whole = (self.folder / "in.tif").read_bytes()
        self.assertEqual(whole[4:8], struct.pack("<I", 8))  # the directory is in front of the pixels
        (self.folder / "in.tif").write_bytes(whole[: len(whole) // 2])
        self.assertEqual(self.refusal("in.tif", 1), "the file is truncated; no image was opened")

    def test_heif_and_avif_are_written_and_read(self):
        picture = smooth("RGB")
        picture.save(self.folder / "in.png")
        for suffix, brand in (("avif", b"avif"), ("heic", b"heic")):
            path = self.apply("in.png", f"out.{suffix}")
            self.assertEqual(path.read_bytes()[4:12], b"ftyp" + brand)
            with Image.open(self.apply(path, "back.png")) as back:
                pairs = zip(back.convert("RGB").tobytes(), picture.tobytes())
                self.assertLess(max(abs(a - b) for a, b in pairs), 24)
            first = path.read_bytes()
            self.assertEqual(self.apply("in.png", f"again.{suffix}").read_bytes(), first)

    def test_a_heif_picture_that_is_made_of_itself_is_refused(self):
        def box(kind, *parts):
            content = b"".join(parts)
            return struct.pack(">I", 8 + len(content)) + kind + content

        def full(kind, *parts, version=0):
            return box(kind, struct.pack(">I", version << 24), *parts)

        grid = bytes([0, 0, 0, 0]) + struct.pack(">HH", 64, 64)
        meta = (
            full(b"hdlr", bytes(4), b"pict", bytes(13)),
            full(b"pitm", struct.pack(">H", 1)),
            full(b"iloc", struct.pack(">HHHHHHII", 0x4400, 1, 1, 1, 0, 1, 0, len(grid)), version=1),
            full(b"iinf", struct.pack(">H", 1), full(b"infe", struct.pack(">HH", 1, 0), b"grid\0", version=2)),
            full(b"iref", box(b"dimg", struct.pack(">HHH", 1, 1, 1))),
            box(b"iprp", box(b"ipco", full(b"ispe", struct.pack(">II", 64, 64))),
                full(b"ipma", struct.pack(">IHBB", 1, 1, 1, 1))),
            box(b"idat", grid),
        )
        path = self.folder / "itself.heic"
        path.write_bytes(box(b"ftyp", b"heic", bytes(4), b"mif1heic") + full(b"meta", *meta))
        self.assertIn("; no image was opened", self.refusal(path, 1))

    def test_heif_and_avif_can_be_without_losses(self):
        picture = noise("RGB", (64, 48))
        profile = self.profile("displayP3")
        for source, save in (("plain.png", {}), ("p3.png", {"icc_profile": profile})):
            picture.save(self.folder / source, **save)
            for suffix in ("avif", "heic"):
                path = self.apply(source, f"out.{suffix}", "--lossless")
                with Image.open(self.apply(path, "back.png")) as back:
                    self.assertEqual(back.convert("RGB").tobytes(), picture.tobytes(), (source, suffix))
                    self.assertEqual(back.info.get("icc_profile"), save.get("icc_profile"))

    def test_interlaced_png_and_wrong_checksums(self):
        width, height, generator = 13, 11, random.Random(4)
        pixels = [[generator.randbytes(3) for _ in range(width)] for _ in range(height)]
        rows = [
            b"".join(pixels[y][x] for x in range(left, width, across))
            for left, top, across, down in PASSES
            for y in range(top, height, down)
            if left < width
        ]
        file = png(width, height, 8, 2, rows, interlaced=1)
        self.photo.write_bytes(file)
        self.assertEqual(read_png(self.apply(self.photo, "out.png"))[1], [b"".join(row) for row in pixels])
        at = file.index(b"IDAT") + 10
        self.photo.write_bytes(file[:at] + bytes([file[at] ^ 1]) + file[at + 1 :])
        self.assertEqual(self.refusal(self.photo, 1), "the picture is damaged; no image was opened")
        self.photo.write_bytes(file[:-20])
        self.assertEqual(self.refusal(self.photo, 1), "the file is truncated; no image was opened")

    def test_transparent_colors_of_png_are_read(self):
        rows = [bytes([1, 2, 3, 9, 9, 9])]
        self.photo.write_bytes(png(2, 1, 8, 2, rows, [(b"tRNS", bytes([0, 9, 0, 9, 0, 9]))]))
        header, written, _ = read_png(self.apply(self.photo, "out.png"))
        self.assertEqual((header[3], written), (6, [bytes([1, 2, 3, 255, 0, 0, 0, 0])]))

    def test_broken_files_are_one_line(self):
        picture = smooth("RGB")
        self.apply_all(picture)
        for suffix in ("png", "jpg", "webp", "tif", "avif", "heic"):
            whole = (self.folder / f"whole.{suffix}").read_bytes()
            for name, file in (
                ("cut", whole[: len(whole) // 2]),
                ("header", whole[:16]),
                ("zeros", whole[:40] + bytes(len(whole) - 40)),
            ):
                # Zeros are a picture to WebP's decoder of compressed numbers; the format has no check sums.
                if (suffix, name) == ("webp", "zeros"):
                    continue
                with self.subTest(suffix=suffix, name=name):
                    broken = self.folder / f"{name}.{suffix}"
                    broken.write_bytes(file)
                    self.assertIn("; no image was opened", self.refusal(broken, 1))

    def apply_all(self, picture):
        picture.save(self.folder / "in.png")
        for suffix in ("png", "jpg", "webp", "tif", "avif", "heic"):
            self.apply("in.png", f"whole.{suffix}")

    def test_the_pixel_limit_refuses_bombs_and_can_be_raised(self):
        bomb = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 50000, 50000, 8, 2, 0, 0, 0))
        self.photo.write_bytes(bomb + chunk(b"IDAT", b"") + chunk(b"IEND", b""))
        message = "the picture has 50000 x 50000 pixels, at most {} million can be read without --pixel-limit"
        self.assertEqual(self.refusal(self.photo, 1), message.format(268) + "; no image was opened")
        noise("RGB").save(self.folder / "in.png")
        few = "the picture has 23 x 17 pixels, at most 0 million can be read without --pixel-limit; no image was opened"
        self.assertEqual(self.refusal("in.png", 1, "--pixel-limit", "0.0003"), few)
        self.apply("in.png", "out.png", "--pixel-limit", "0.0004")

    def test_wrong_options_name_what_is_expected(self):
        for option, value, expected in (
            ("quality", "101", "a whole number from 0 to 100"),
            ("quality", "0.5", "a whole number from 0 to 100"),
            ("compression", "best", "fast, balanced or small"),
            ("depth", "12", "8, 16 or 32 bits"),
            ("subsampling", "411", "444, 422 or 420"),
            ("strip", "exif", "gps, all or no value"),
        ):
            self.assert_fails(
                2,
                f"--{option}: got '{value}', expected {expected}; nothing was written",
                *("apply", SAME, "absent.png", "-o", self.out, f"--{option}={value}"),
            )

    def test_a_format_that_cannot_be_written_is_found_before_anything_is_read(self):
        target = self.folder / "out.gif"
        self.assert_fails(
            2,
            f"{target}: the suffix must be that of a {READABLE} file; nothing was written",
            *("apply", SAME, "absent.png", "-o", target),
        )
        target = self.folder / "out.jpg"
        self.assert_fails(
            2,
            f"{target}: JPEG files do not have 16 bits per component; nothing was written",
            *("apply", SAME, "absent.png", "-o", target, "--depth", "16"),
        )

    def test_a_profile_made_here_has_no_date(self):
        self.assertEqual(self.profile("displayP3")[24:36], struct.pack(">6H", 2000, 1, 1, 0, 0, 0))

    def test_the_profile_of_the_input_is_kept_and_the_numbers_with_it(self):
        profile = self.profile("displayP3")
        picture = noise("RGB")
        picture.save(self.folder / "in.png", icc_profile=profile)
        for suffix, options in LOSSLESS.items():
            with Image.open(self.apply("in.png", f"out.{suffix}", *options)) as image:
                self.assertEqual(image.info["icc_profile"], profile)
                self.assertEqual(image.convert("RGB").tobytes(), picture.tobytes())
        for options in (("--strip",), ("--color-space", "sRGB")):
            with Image.open(self.apply("in.png", "out.png", *options)) as image:
                self.assertNotIn("icc_profile", image.info)
                self.assertNotEqual(image.convert("RGB").tobytes(), picture.tobytes())
        smooth("RGB").save(self.folder / "plain.png")
        for space in ("Display P3", "displayP3"):
            with Image.open(self.apply("plain.png", "out.jpg", "--color-space", space)) as image:
                self.assertEqual(image.info["icc_profile"], profile)
        (self.folder / "p3.icc").write_bytes(profile)
        target = str(self.folder / "p3.icc")
        converted = ImageCms.profileToProfile(
            smooth("RGB"), ImageCms.createProfile("sRGB"), target, renderingIntent=1
        )
        with Image.open(self.apply("plain.png", "out.png", "--color-space", "p3.icc")) as image:
            pairs = zip(image.convert("RGB").tobytes(), converted.tobytes())
            self.assertLessEqual(max(abs(a - b) for a, b in pairs), 2)
        self.out.unlink()
        self.assert_fails(
            2,
            "--color-space: got 'absent.icc', expected input, an RGB space such as sRGB or \"Display P3\", or a file "
            "with an RGB profile that colors can be converted to; nothing was written",
            *("apply", SAME, "plain.png", "-o", self.folder / "absent.png", "--color-space", "absent.icc"),
        )

    def profile(self, name):
        script = self.folder / "space.lua"
        path = self.folder / f"{name}.profile"
        script.write_text(f'io.open("{path}", "wb"):write(CGColorSpaceQOR.Named("{name}").Profile.Bytes):close()')
        self.assert_works("run", script)
        return path.read_bytes()


if __name__ == "__main__":
    unittest.main()
