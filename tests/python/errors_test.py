#!/usr/bin/env python3
"""What wrong programs get: exceptions that name class, key, what was expected and what was found, with a suggestion."""

import copy
import os
import pickle
import pydoc
import unittest

import zeva
from zeva import errors


class ErrorsTest(unittest.TestCase):
    def setUp(self):
        self.blur = zeva.filters.GaussianBlur()
        self.photo = zeva.CIImageQOR.from_color("orange").crop((0, 0, 4, 4))

    def expect(self, kind, message, work):
        with self.assertRaises(kind) as caught:
            work()
        self.assertEqual(message, str(caught.exception))

    def test_unknown_key_is_an_attribute_error_with_a_suggestion(self):
        message = "CIFilterGaussianBlurQOR.radus: the class has no such member, did you mean radius"
        self.expect(errors.UnknownName, message, lambda: setattr(self.blur, "radus", 3))
        self.expect(AttributeError, message, lambda: self.blur.radus)
        self.expect(errors.UnknownName, message, lambda: zeva.filters.GaussianBlur(radus=3))
        self.assertFalse(hasattr(self.blur, "radus"))

    def test_wrong_type_keeps_the_value(self):
        start = "CIFilterGaussianBlurQOR.inputRadius: expected double, got "
        end = "; the property keeps its value"
        self.expect(errors.WrongType, f'{start}string "abc"{end}', lambda: setattr(self.blur, "radius", "abc"))
        self.expect(TypeError, f"{start}boolean true{end}", lambda: setattr(self.blur, "radius", True))
        self.expect(TypeError, f"{start}nil{end}", lambda: setattr(self.blur, "radius", None))
        self.expect(TypeError, f"{start}list [1]", lambda: setattr(self.blur, "radius", [1]))
        self.expect(TypeError, f"{start}CIImageQOR{end}", lambda: setattr(self.blur, "radius", self.photo))
        self.assertEqual(10, self.blur.radius)

    def test_read_only_property_says_so(self):
        self.expect(errors.ReadOnly, "CIImageQOR.Extent: the property is read-only; it keeps its value",
                    lambda: setattr(self.photo, "extent", (0, 0, 1, 1)))
        self.assertEqual([0, 0, 4, 4], list(self.photo.extent))

    def test_wrong_arguments_name_the_parameter(self):
        self.expect(TypeError, "CIImageQOR.Crop: expected CIVectorQOR for rectangle, got integer 3",
                    lambda: self.photo.crop(3))
        self.expect(TypeError, "CIImageQOR.Crop: it takes 1 argument (rectangle as CIVectorQOR), got 0",
                    self.photo.crop)
        self.expect(TypeError, "CIImageQOR.Crop: it takes (rectangle), got the argument rect",
                    lambda: self.photo.crop(rect=(0, 0, 1, 1)))
        self.assertEqual([0, 0, 1, 1], list(self.photo.crop(rectangle=(0, 0, 1, 1)).extent))

    def test_unknown_filters_and_classes_suggest_one(self):
        self.expect(AttributeError,
                    "CIImageQOR.gausian_blur: there is no such member and no such filter, did you mean gaussian_blur",
                    lambda: self.photo.gausian_blur)
        self.expect(AttributeError, "class GausianBlur: there is no such class, did you mean GaussianBlur",
                    lambda: zeva.filters.GausianBlur)
        self.expect(AttributeError, "class CIColorsQOR: there is no such class, did you mean CIColorQOR",
                    lambda: zeva.CIColorsQOR)
        self.expect(AttributeError, "CIImageQOR.opn: the class has no such member, did you mean open",
                    lambda: zeva.CIImageQOR.opn)
        self.expect(AttributeError, "CIImageQOR: the class is not a filter, it is zeva.CIImageQOR",
                    lambda: zeva.filters.CIImageQOR)

    def test_filter_without_its_pictures_names_the_keys(self):
        self.expect(TypeError, "CIFilterBlendWithMaskQOR: there is no output image, expected also mask_image and "
                    "background_image", self.photo.blend_with_mask)

    def test_exceptions_of_a_module_tell_their_class(self):
        with self.assertRaises(errors.Raised) as caught:
            zeva.open("missing.jpg")
        self.assertEqual("RuntimeException", caught.exception.class_name)
        self.assertEqual("RuntimeException: missing.jpg: no such file or directory; no image was opened",
                         str(caught.exception))
        with self.assertRaises(errors.Raised) as caught:
            self.blur.output_image = self.photo
        self.assertEqual("NSExceptionQOR", caught.exception.class_name)
        self.assertIn("setValue:forUndefinedKey:", str(caught.exception))

    def test_texts_that_are_not_values_are_wrong_types(self):
        with self.assertRaises(errors.WrongType) as caught:
            self.photo.color_monochrome(color="orangish")
        self.assertIn("CIFilterColorMonochromeQOR.inputColor", str(caught.exception))

    def test_objects_cannot_be_pickled_or_copied(self):
        for work in (pickle.dumps, copy.copy, copy.deepcopy):
            with self.assertRaisesRegex(TypeError, "CIImageQOR: an object of the host cannot be pickled or copied"):
                work(self.photo)

    def test_companion_methods_win_over_filters(self):
        self.assertEqual([1, 1, 2, 2], list(self.photo.crop((1, 1, 2, 2)).extent))
        self.assertEqual("CIFilterCropQOR", zeva.filters.crop.__name__)
        self.assertIs(zeva.filters.Crop, zeva.CIFilterCropQOR)

    @unittest.skipUnless("ZEVA_SPELLINGS_MODULE" in os.environ, "the module of the tests is not built")
    def test_modules_of_others_appear_and_ambiguous_names_list_the_full_ones(self):
        self.assertIn("gaussian_blur", dir(self.photo))
        zeva.load(os.environ["ZEVA_SPELLINGS_MODULE"])
        names = "expected one of CIFilterWideBlurQOR and CIFilterWide_BlurQOR"
        self.expect(AttributeError, f"class wide_blur: the name is ambiguous, {names}", lambda: self.photo.wide_blur)
        wide = zeva.CIFilterWideBlurQOR()
        names = "expected one of inputSize and Size"
        self.expect(AttributeError, f"CIFilterWideBlurQOR.size: the name is ambiguous, {names}", lambda: wide.size)
        with self.assertRaises(AttributeError):
            wide.size = 3
        wide.inputSize = 3
        self.assertEqual((3, -1, -1), (wide.inputSize, wide.Size, wide.far_away))

    def test_a_file_that_is_not_a_module_is_refused(self):
        with self.assertRaises(errors.Refused) as caught:
            zeva.load(__file__)
        self.assertIn(__file__, str(caught.exception))
        with self.assertRaisesRegex(errors.Refused, "this process already has one"):
            zeva.open_host()

    def test_help_tells_keys_units_ranges_and_defaults(self):
        text = zeva.filters.Bloom.__doc__
        self.assertIn("intensity: double, default 0.5, at least 0, mostly 0 to 1\n", text)
        self.assertIn("radius: double, pixels, default 10, at least 0, mostly 0 to 100\n", text)
        shown = pydoc.plain(pydoc.render_doc(zeva.filters.Bloom))
        self.assertIn("mostly 0 to 100\n |      The distance that the glow spreads, in pixels.\n", shown)
        self.assertEqual("inputRadius as double", zeva.filters.Bloom.radius.__doc__)
        self.assertEqual("Crop(rectangle as CIVectorQOR) as CIImageQOR", self.photo.crop.__doc__)


if __name__ == "__main__":
    unittest.main()
