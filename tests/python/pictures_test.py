#!/usr/bin/env python3
"""Pictures in and out: files, arrays, Pillow, notebooks. Arrays lie over memory of the library."""

import io
import pathlib
import tempfile
import unittest

import numpy as np
import zeva
from PIL import Image
from program import PHOTO


class PicturesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.photo = zeva.open(PHOTO)
        cls.pixels = np.random.default_rng(20).integers(0, 256, (5, 7, 4), np.uint8)
        cls.pixels[..., 3] = 255

    def test_pixels_are_those_that_pillow_reads(self):
        expected = np.asarray(Image.open(PHOTO).convert("RGBA")).astype(int)
        self.assertLessEqual(np.abs(np.asarray(self.photo).astype(int) - expected).max(), 1)

    def test_a_chain_is_saved_by_its_suffix(self):
        with tempfile.TemporaryDirectory() as folder:
            soft = self.photo.gaussian_blur(radius=8).color_controls(saturation=0)
            path = pathlib.Path(folder) / "out.png"
            soft.crop(self.photo.extent).save(path)
            written = np.asarray(Image.open(path).convert("RGB")).astype(int)
            self.assertEqual((600, 512, 3), written.shape)
            self.assertLessEqual(np.ptp(written, axis=2).max(), 1)
            sizes = []
            for quality in 20, 95:
                self.photo.save(path.with_suffix(".jpg"), quality=quality)
                sizes.append(path.with_suffix(".jpg").stat().st_size)
            self.assertLess(2 * sizes[0], sizes[1])
            self.photo.save(path, space="displayP3")
            with Image.open(path) as image:
                self.assertIn("icc_profile", image.info)

    def test_files_take_the_options_of_the_command_line_and_the_data_of_another_picture(self):
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder)
            self.photo.save(folder / "out.webp", quality=80)
            with Image.open(folder / "out.webp") as image:
                self.assertEqual(("WEBP", (512, 600)), (image.format, image.size))
            self.photo.save(folder / "deep.png", depth=16, compression="small")
            self.assertEqual(16, (folder / "deep.png").read_bytes()[24])
            exif = Image.Exif()
            exif[0x010E] = "a caption"
            Image.open(PHOTO).save(folder / "captioned.jpg", exif=exif)
            source = zeva.open(folder / "captioned.jpg")
            for options, caption in ({}, "a caption"), ({"strip": "all", "progressive": True}, None):
                source.color_invert().save(folder / "out.jpg", quality=50, like=source, **options)
                with Image.open(folder / "out.jpg") as image:
                    self.assertEqual(caption, image.getexif().get(0x010E))
                    self.assertEqual("progressive" in options, "progressive" in image.info)
            with self.assertRaisesRegex(zeva.errors.Raised, "compresion"):
                self.photo.save(folder / "never.png", compresion="small")
            with self.assertRaisesRegex(TypeError, "use color_space"):
                self.photo.save(folder / "never.png", space="sRGB", depth=16)
            self.assertFalse((folder / "never.png").exists())

    def test_arrays_become_pictures_and_arrays_again(self):
        self.assertTrue((np.asarray(zeva.from_array(self.pixels)) == self.pixels).all())
        values = self.photo.gaussian_blur(radius=2).values()
        self.assertEqual(np.float32, values.dtype)
        self.assertTrue((zeva.from_array(values).values() == values).all())

    def test_results_are_read_only_views_of_the_library(self):
        for array in (self.photo.pixels(), self.photo.values()):
            self.assertFalse(array.flags.writeable)
            self.assertFalse(array.flags.owndata)
            with self.assertRaises(ValueError):
                array[0, 0, 0] = 1
            with self.assertRaises(ValueError):
                array.flags.writeable = True

    def test_a_picture_reads_the_memory_of_its_array(self):
        array = self.pixels.copy()
        shared, copied = zeva.from_array(array), zeva.from_array(array, copy=True)
        array[:] = 255
        self.assertEqual(255, np.asarray(shared).min())
        self.assertTrue((np.asarray(copied) == self.pixels).all())

    def test_other_forms_are_converted(self):
        gray = self.pixels[..., 0]
        expected = np.dstack([gray, gray, gray, np.full_like(gray, 255)])
        self.assertTrue((np.asarray(zeva.from_array(gray)) == expected).all())
        self.assertTrue((np.asarray(zeva.from_array(self.pixels[..., :3])) == self.pixels).all())
        self.assertTrue((np.asarray(zeva.from_array(self.pixels[::-1, ::-1])) == self.pixels[::-1, ::-1]).all())
        self.assertTrue((np.asarray(zeva.from_array(Image.fromarray(self.pixels))) == self.pixels).all())
        light = np.full((2, 3), 0.5)
        self.assertEqual([0.5, 0.5, 0.5, 1], zeva.from_array(light).values()[1, 2].tolist())
        for wrong in (np.zeros((2, 2, 5), np.uint8), np.zeros((2, 2, 4), np.int64), np.zeros((0, 2, 4), np.uint8), [1]):
            with self.assertRaises(zeva.errors.WrongType):
                zeva.from_array(wrong)

    def test_twelve_megapixels_are_not_copied(self):
        pixels = np.zeros((3000, 4000, 4), np.uint8)
        picture = zeva.from_array(pixels)
        pixels[7, 9] = 200, 100, 50, 255
        self.assertEqual([200, 100, 50, 255], picture.pixels((9, 2992, 1, 1))[0, 0].tolist())
        values = picture.values()
        again = zeva.from_array(values)
        # The same memory: the block of the array is what the second picture reads.
        self.assertTrue((again.values((9, 2992, 1, 1)) == values[7:8, 9:10]).all())
        self.assertEqual(3000 * 4000 * 16, values.nbytes)

    def test_rectangles_are_rounded_outward_and_transparent_outside(self):
        pixels = zeva.from_array(self.pixels).pixels((-1, 0.5, 2, 1))
        self.assertEqual((2, 2, 4), pixels.shape)
        self.assertTrue((pixels[:, 0] == 0).all())
        self.assertTrue((pixels[:, 1] == self.pixels[3:, 0]).all())

    def test_pillow_sees_the_same_pixels(self):
        image = zeva.from_array(self.pixels).to_pil()
        self.assertEqual(((7, 5), "RGBA"), (image.size, image.mode))
        self.assertTrue((np.asarray(image) == self.pixels).all())

    def test_pictures_open_from_bytes_and_files(self):
        data = pathlib.Path(PHOTO).read_bytes()
        for source in (data, memoryview(data), io.BytesIO(data), pathlib.Path(PHOTO), PHOTO):
            self.assertEqual((512, 600), zeva.open(source).size)

    def test_a_notebook_shows_a_picture_as_png(self):
        shown = Image.open(io.BytesIO(self.photo._repr_png_()))
        self.assertEqual((512, 600), shown.size)
        large = zeva.from_array(np.zeros((1000, 2000, 4), np.uint8))
        self.assertEqual(800, Image.open(io.BytesIO(large._repr_png_())).size[0])
        self.assertIsNone(zeva.CIImageQOR.from_color("orange")._repr_png_())
        self.assertEqual("<CIImageQOR 512 x 600 at 0, 0>", repr(self.photo))
        self.assertEqual("<CIImageQOR, empty or infinite>", repr(zeva.CIImageQOR.from_color("orange")))

    def test_infinite_pictures_have_no_pixels(self):
        with self.assertRaisesRegex(zeva.errors.Raised, "empty or infinite"):
            zeva.CIImageQOR.from_color("orange").pixels()

    def test_values_are_written_as_on_the_command_line(self):
        tinted = zeva.filters.ColorMonochrome(image=self.photo, color="#ff8000")
        self.assertTrue(np.allclose([1, 0x80 / 255, 0, 1], list(tinted.color)))
        turned = zeva.filters.AffineTransform(transform="rotate:90 translate:10,0")
        self.assertEqual([0, 1, -1, 0, 10, 0], [round(getattr(turned.transform, name), 5)
                                                for name in ("a", "b", "c", "d", "tx", "ty")])
        blend = self.photo.color_blend_mode(background_image=PHOTO)
        self.assertEqual((512, 600), blend.size)
        cube = self.photo.color_cube(cube_dimension=2, cube_data=np.zeros((8, 4), np.float32) + (0, 0, 0, 1))
        self.assertEqual(0, np.asarray(cube)[..., :3].max())

    def test_vectors_and_blocks_are_sequences(self):
        vector = zeva.CIVectorQOR.from_numbers("1 2 3")
        self.assertEqual((3, 2.0, [1.0, 3.0]), (len(vector), vector[1], vector[::2]))
        self.assertEqual([1, 2, 3], np.asarray(vector).tolist())
        block = zeva.MemoryBlock.from_bytes("abc")
        self.assertEqual((b"abc", 3, b"abc"), (bytes(block), len(block), block.bytes))
        self.assertEqual([97, 98, 99], np.asarray(block).tolist())


if __name__ == "__main__":
    unittest.main()
