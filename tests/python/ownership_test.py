#!/usr/bin/env python3
"""Each object owns one reference, and nothing stays: the host's counts before and after."""

import gc
import unittest

import numpy as np
import zeva
from program import PHOTO


class OwnershipTest(unittest.TestCase):
    def setUp(self):
        gc.collect()
        self.before = zeva.references()

    def tearDown(self):
        gc.collect()
        self.assertEqual(self.before, zeva.references())

    def test_hundred_thousand_objects_leave_none(self):
        blur = zeva.filters.GaussianBlur
        kept = []
        for _ in range(100):
            kept = [blur() for _ in range(1000)]
        self.assertEqual((self.before[0] + 1000, self.before[1]), zeva.references())
        self.assertEqual(10, kept[-1].radius)

    def test_results_of_every_kind_own_one_reference(self):
        blur = zeva.filters.GaussianBlur(radius=2)
        count = zeva.references()[0]
        image = zeva.open(PHOTO)
        self.assertEqual(count + 1, zeva.references()[0])
        for _ in range(100):
            blur.image = image
            blur.output_image.crop((0, 0, 4, 4)).color_at(1, 1)
            self.assertEqual("Gaussian Blur", blur.display_name)
            self.assertIsInstance(list(image.extent), list)
        # The filter keeps the platform's image, not the host's object.
        self.assertEqual(count + 1, zeva.references()[0])

    def test_failures_leave_nothing(self):
        for _ in range(100):
            for work in (lambda: zeva.open("missing.jpg"), lambda: zeva.filters.GaussianBlur(radus=1),
                         lambda: zeva.filters.GaussianBlur(radius="abc"), lambda: zeva.CIColorQOR.hex("wrong"),
                         lambda: zeva.CIImageQOR(1, 2, 3)):
                with self.assertRaises(zeva.errors.Error):
                    work()

    def test_arrays_keep_the_block_and_the_picture_keeps_the_array(self):
        picture = zeva.from_array(np.full((4, 4, 4), 255, np.uint8))
        values = picture.values()
        count = zeva.references()[0]
        part = values[1:, 1:]
        del values
        gc.collect()
        self.assertEqual(count, zeva.references()[0])
        self.assertEqual(1, part.min())
        del part
        self.assertEqual(count - 1, zeva.references()[0])

    def test_an_array_is_let_go_with_the_last_picture_of_it(self):
        array = np.zeros((4, 4, 4), np.uint8)
        lent = len(zeva._pictures._lent)
        cropped = zeva.from_array(array).crop((0, 0, 2, 2)).gaussian_blur(radius=1)
        self.assertEqual(lent + 1, len(zeva._pictures._lent))
        cropped.values()
        del cropped
        gc.collect()
        self.assertEqual(lent, len(zeva._pictures._lent))

    def test_equal_objects_stand_for_the_same_object(self):
        image = zeva.open(PHOTO)
        self.assertEqual(1, len({image, image}))
        self.assertNotEqual(image, zeva.open(PHOTO))
        self.assertNotEqual(image, 3)


if __name__ == "__main__":
    unittest.main()
