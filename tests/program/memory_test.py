"""--memory: large pictures are read and written in strips, with the same bytes, within the limit."""

import os
import struct
import subprocess
import unittest
import zlib

from zeva_program import IS_SANITIZED, ZEVA, ZevaTest, messages, png, png_size, read_png

MEGABYTE = 1 << 20

# The chains are saved from a file, by strips, and encoded from the whole picture in memory.
SAVE_BOTH_WAYS = """
local input, folder = arg[1], arg[2]
local photo = CIImageQOR.Open(input)
local whole = CIImageQOR.FromPixels(photo:Pixels(photo.Extent), math.tointeger(photo.Extent.Width),
    math.tointeger(photo.Extent.Height))

local function filtered(class, image, keys)
    local filter = class()
    filter.inputImage = image
    for key, value in pairs(keys) do filter[key] = value end
    return filter.outputImage
end

local chains = {
    function(image) return filtered(CIFilterColorInvertQOR, image, {}) end,
    function(image) return filtered(CIFilterGaussianBlurQOR, image, {inputRadius = 3}) end,
    function(image) return filtered(CIFilterGaussianBlurQOR, image, {inputRadius = 40}):Crop(image.Extent) end,
    function(image)  -- upside down
        return image:Transform(NSAffineTransformQOR.Make(1, 0, 0, -1, 0, 0))
    end,
    function(image)  -- lightened by its own mean
        local mean = filtered(CIFilterAreaAverageQOR, image, {inputExtent = image.Extent})
        local everywhere = filtered(CIFilterAffineTileQOR, mean, {})
        return filtered(CIFilterAdditionCompositingQOR, image, {inputBackgroundImage = everywhere})
            :Crop(image.Extent)
    end,
    function(image)  -- gray above, colored below: the file begins as gray
        local gray = filtered(CIFilterColorControlsQOR, image, {inputSaturation = 0})
        local band = image:Crop(CIVectorQOR.FromNumbers("0,0,3000,9"))
        return band:Over(gray)
    end,
    function(image)  -- transparent below: the file begins without alpha
        return image:Over(image:Transform(NSAffineTransformQOR.Make(1, 0, 0, 1, 9, -9)))
    end,
}
for number, chain in ipairs(chains) do
    local name = folder .. "/" .. number
    chain(CIImageQOR.Open(input)):Save(name .. ".png")
    chain(CIImageQOR.Open(input)):SaveWithQuality(name .. ".jpg", 0.9)
    local png <close> = io.open(name .. ".whole.png", "wb")
    png:write(chain(whole):ToPNG().Bytes)
    local jpeg <close> = io.open(name .. ".whole.jpg", "wb")
    jpeg:write(chain(whole):ToJPEG(0.9).Bytes)
end
print(#chains)
"""


RESIZE_BOTH_WAYS = """
local photo = CIImageQOR.Open(arg[1])
local width, height = math.tointeger(photo.Extent.Width), math.tointeger(photo.Extent.Height)
photo:Resized(math.tointeger(arg[2]), math.tointeger(arg[3]), "stretch"):Save(arg[4])
local whole = CIImageQOR.FromPixels(photo:Pixels(photo.Extent), width, height)
whole:Resized(math.tointeger(arg[2]), math.tointeger(arg[3]), "stretch"):Save(arg[5])
"""


def with_orientation(jpeg, orientation):
    """The bytes of a JPEG with an Exif block that says which way up the camera was held."""
    tiff = b"II*\0" + struct.pack("<IHHHIHHI", 8, 1, 0x112, 3, 1, orientation, 0, 0)
    exif = b"Exif\0\0" + tiff
    return jpeg[:2] + b"\xff\xe1" + struct.pack(">H", len(exif) + 2) + exif + jpeg[2:]


def png_file(header, rows):
    """The bytes of a PNG file with these fields of its header and these compressed rows."""

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    parts = (b"IHDR", struct.pack(">IIBBBBB", *header)), (b"IDAT", rows), (b"IEND", b"")
    return b"\x89PNG\r\n\x1a\n" + b"".join(chunk(*part) for part in parts)


def interlaced_png(width, height):
    """The bytes of a black PNG file in seven passes."""

    passes = ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2))
    size = sum(
        len(range(top, height, down)) * (1 + 3 * len(range(left, width, across))) for left, top, across, down in passes
    )
    return png_file((width, height, 8, 2, 0, 0, 1), zlib.compress(bytes(size), 1))


class MemoryTest(ZevaTest):
    def setUp(self):
        super().setUp()
        self.photo.write_bytes(png(61, 53, lambda x, y: (x * 4 % 256, y * 5 % 256, (x * y) % 256)))

    def large(self, name, width, height, *options):
        """Writes a picture of this size: many colors, soft edges."""
        picture = self.folder / name
        skewed = "inputTransform=5.1,1.3,-0.7,4.3,0,0"
        self.assert_works(
            *("apply", "AffineTile", skewed, self.photo, "+", "ColorControls", "inputContrast=1.1"),
            *("--rect", f"0,0,{width},{height}", "-o", picture, *options),
        )
        return picture

    def peak(self, *words):
        """Runs the program, which must work. Returns its peak resident memory in bytes."""
        process = subprocess.Popen([ZEVA, *map(str, words)], cwd=self.folder)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, 0)
        return usage.ru_maxrss * 1024

    @unittest.skipIf(IS_SANITIZED, "the peak would be that of the sanitizers")
    def test_peak_memory_stays_below_the_limit_and_64_megabytes(self):
        # Decoded, the picture has 96 MB, and each result as many.
        photo = self.large("large.jpg", 6000, 4200)
        limit = 48
        for chain, output in (
            (["ColorInvert"], "out.png"),
            (["GaussianBlur", "radius=10"], "out.jpg"),
            (["ColorInvert", "+", "GaussianBlur", "radius=3", "+", "ColorControls", "saturation=0.5"], "out.png"),
        ):
            with self.subTest(chain=chain, output=output):
                peak = self.peak("apply", "-q", *chain, photo, "--keep-size", "--memory", f"{limit}M", "-o", output)
                self.assertLess(peak / MEGABYTE, limit + 64)

    def test_strips_give_the_bytes_of_the_whole_picture(self):
        script = self.folder / "both.lua"
        script.write_text(SAVE_BOTH_WAYS)
        for name, limit in (("large.jpg", "32M"), ("large.png", "1G")):
            with self.subTest(name=name, limit=limit):
                picture = self.large(name, 2100, 2000)
                chains = int(self.assert_works("--memory", limit, "run", script, picture, self.folder))
                for number in range(1, chains + 1):
                    for suffix in ("png", "jpg"):
                        strips = (self.folder / f"{number}.{suffix}").read_bytes()
                        whole = (self.folder / f"{number}.whole.{suffix}").read_bytes()
                        self.assertTrue(strips == whole, f"chain {number}, {suffix}")

    def test_a_picture_that_must_be_decoded_as_a_whole_says_what_it_needs(self):
        upright = self.large("large.jpg", 3000, 2000)
        turned = self.folder / "turned.jpg"
        turned.write_bytes(with_orientation(upright.read_bytes(), 6))
        self.assert_fails(
            1,
            f"{turned}: needs 23 MB of memory, more than the memory limit of 20 MB; no image was opened",
            *("apply", "ColorInvert", turned, "--memory", "20M", "-o", self.out),
        )
        self.assert_works("apply", "ColorInvert", turned, "--memory", "24M", "-o", self.out)
        turned.write_bytes(with_orientation(upright.read_bytes(), 2))
        self.assert_works("apply", "ColorInvert", turned, "--memory", "20M", "-o", self.out)

    def test_a_picture_that_is_decoded_as_a_whole_says_what_that_needs(self):
        width, height = 2400, 2000
        interlaced = self.folder / "interlaced.png"
        interlaced.write_bytes(interlaced_png(width, height))
        for picture, needed in (
            (interlaced, 19),  # 4 bytes for each pixel
            (self.large("progressive.jpg", width, height, "--progressive"), 33),  # and 3 for coefficients
            (self.large("lossless.webp", width, height, "--lossless"), 37),  # and 4 for a copy
        ):
            with self.subTest(picture=picture.name):
                limit = needed - 1
                self.assert_fails(
                    1,
                    f"{picture}: needs {needed} MB of memory, more than the memory limit of {limit} MB; "
                    "no image was opened",
                    *("apply", "ColorInvert", picture, "--memory", f"{limit}M", "-o", self.out),
                )
                words = ("apply", "-q", "ColorInvert", picture, "--memory", f"{needed}M", "-o", "out.jpg")
                peak = self.peak(*words) / MEGABYTE
                if not IS_SANITIZED:
                    self.assertLess(peak, needed + 64)

    def test_a_picture_with_huge_rows_says_what_one_needs(self):
        rows = zlib.compress(bytes(1 + 8 * 3_000_000), 1)
        picture = self.folder / "wide.png"
        picture.write_bytes(png_file((3_000_000, 1, 16, 6, 0, 0, 0), rows))
        self.assert_fails(
            1,
            f"{picture}: needs 69 MB of memory, more than the memory limit of 68 MB; no image was opened",
            *("apply", "ColorInvert", picture, "--memory", "68M", "-o", self.out),
        )

    def test_a_result_of_more_than_a_billion_pixels_is_written_in_strips(self):
        words = ("-q", "apply", "ConstantColorGenerator", "inputColor=white", "--rect", "0,0,1000,1100000")
        peak = self.peak(*words, "--memory", "64M", "-o", self.out) / MEGABYTE
        self.assertEqual(png_size(self.out), (1000, 1_100_000))
        if not IS_SANITIZED:
            self.assertLess(peak, 128)

    def test_a_large_picture_that_is_truncated_is_one_line_and_leaves_the_existing_output(self):
        for name in ("large.jpg", "large.png"):
            picture = self.large(name, 2100, 2000)
            content = picture.read_bytes()
            picture.write_bytes(content[: len(content) * 2 // 3])
            self.out.write_bytes(b"before")
            result = self.zeva("apply", "ColorInvert", picture, "-o", self.out)
            self.assertEqual(
                messages(result.stderr),
                [f"zeva: {self.out}: {picture}: the file is truncated; nothing was written"],
            )
            self.assertEqual(result.returncode, 1)
            self.assertEqual(self.out.read_bytes(), b"before")
            self.assertEqual([path.name for path in self.folder.glob(".zeva-*")], [])

    def test_a_jpeg_decoded_at_a_smaller_scale_differs_by_less_than_one_level(self):
        script = self.folder / "resize.lua"
        script.write_text(RESIZE_BOTH_WAYS)
        picture = self.large("large.jpg", 2100, 2000)
        whole = self.folder / "whole.png"
        soft = self.folder / "soft.jpg"
        self.assert_works("apply", "GaussianBlur", "radius=12", picture, "--keep-size", "-o", soft)
        for photo, width, height, is_reduced in (
            (soft, 525, 500, True),
            (soft, 526, 500, False),
            (picture, 262, 250, False),
        ):
            with self.subTest(photo=photo.name, width=width):
                self.assert_works("run", script, photo, width, height, self.out, whole)
                differences = [
                    (a - b) ** 2
                    for row, expected in zip(read_png(self.out), read_png(whole), strict=True)
                    for pixel, pixel_expected in zip(row, expected, strict=True)
                    for a, b in zip(pixel[:3], pixel_expected[:3], strict=True)
                ]
                self.assertLess(sum(differences) / len(differences), 1)
                self.assertEqual(any(differences), is_reduced)

    def test_a_large_result_can_go_to_a_pipe(self):
        picture = self.large("large.png", 2100, 2000)
        self.assert_works("apply", "ColorInvert", picture, "-o", self.out)
        pipe = self.folder / "pipe.png"
        os.mkfifo(pipe)
        copy = self.folder / "copy.png"
        with copy.open("wb") as file, subprocess.Popen(["cat", pipe], stdout=file):
            self.assert_works("apply", "ColorInvert", picture, "-o", pipe)
        self.assertTrue(copy.read_bytes() == self.out.read_bytes())

    def test_standard_input_stays_within_the_limit(self):
        zeros = self.folder / "zeros"
        zeros.write_bytes(bytes(17 * MEGABYTE))
        message = "standard input: more bytes than the memory limit of 16 MB; no image was opened"
        with zeros.open("rb") as file:
            self.assert_fails(1, message, "apply", "Gloom", "-", "--memory", "16M", "-o", self.out, stdin=file)

    def test_a_size_needs_a_unit_and_at_least_16_megabytes(self):
        for text, expected in (
            *((text, "a size such as 256M or 1G") for text in ("256", "M", "12K", "1.5.2G", "nanM")),
            *((text, "at least 16M") for text in ("15.9M", "-1G")),
        ):
            message = f"--memory must be {expected}, got '{text}'"
            self.assert_fails(2, message, "apply", "Gloom", self.photo, f"--memory={text}", "-o", self.out)
        for text in ("16m", "0.5G", "1g"):
            self.assert_works("apply", "Gloom", self.photo, f"--memory={text}", "-o", self.out)


if __name__ == "__main__":
    unittest.main()
