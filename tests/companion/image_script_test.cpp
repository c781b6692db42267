// image_script_test.cpp - scripts that create images from bytes and colors, transform, composite and write them.

#include "tests/companion/companion_script_test.h"

namespace {

TEST_F(CompanionScriptTest, PixelsRoundTrip) {
    EXPECT_EQ(Run(R"(
        local rows = "\255\0\0\255" .. "\0\255\0\128" .. "\10\20\30\255" ..
                     "\0\0\0\0" .. "\1\2\3\255" .. "\200\100\50\64"
        local image = CIImageQOR.FromPixels(bytes(rows), 3, 2)
        assert(image.Extent.Text == "[0 0 3 2]" and pixels(image) == rows)
        assert(image:Pixels(rectangle(2, 0, 2, 1)).Bytes == "\200\100\50\64" .. "\0\0\0\0")
        assert(image:ScreenPixels(rectangle(2, 0, 2, 1)).Bytes == "\50\25\13\64" .. "\0\0\0\0")
        local color = image:ColorAt(1.9, 1.5)
        assert(color.Red == 0 and near(color.Green, 1, 1e-5) and near(color.Alpha, 128 / 255, 1e-5))
        assert(image:ColorAt(-0.5, 0).Alpha == 0)
    )"),
              "");
}

TEST_F(CompanionScriptTest, PixelsAreDividedByAlphaAsItIsStored) {
    // An alpha of 2 is stored as 1. The red is linear 0.01, encoded as 25.5 and premultiplied by 2.
    EXPECT_EQ(Run(R"(
        local image = CIImageQOR.FromValues(bytes(string.pack("ffff", 0.02, 0, 0, 2)), 1, 1)
        assert(image:Pixels(image.Extent).Bytes == "\51\0\0\255")
    )"),
              "");
}

TEST_F(CompanionScriptTest, ValuesAreLinearAndPremultiplied) {
    EXPECT_EQ(Run(R"(
        local image = CIImageQOR.FromPixels(bytes("\255\0\188\51" .. "\0\255\0\255"), 2, 1)
        local r, g, b, a, r2, g2 = string.unpack("ffffff", image:Values(image.Extent).Bytes)
        assert(near(r, 0.2) and g == 0 and near(b, 0.2 * ((188 / 255 + 0.055) / 1.055) ^ 2.4) and near(a, 0.2))
        assert(r2 == 0 and near(g2, 1) and image:Values(image.Extent).Size == 32)
        assert(refusal(image.Values, image, nil) == "CIImageQOR.Values: the rectangle is nil; no pixels were read")
        assert(refusal(image.Values, image, rectangle(0, 0, 1e6, 1e6)) == "CIImageQOR.Values: " ..
               "the rectangle is too large, at most 134 million pixels can be read; no pixels were read")
    )"),
              "");
}

TEST_F(CompanionScriptTest, InvalidPixelsAndRectanglesRaise) {
    EXPECT_EQ(Run(R"(
        local function got(...) return refusal(CIImageQOR.FromPixels, ...) end
        local rest = " pixels of 4 bytes, got 12 bytes; no image was created"
        assert(got(bytes(("x"):rep(12)), 2, 2) == "CIImageQOR.FromPixels: expected 2 x 2" .. rest)
        assert(got(bytes(("x"):rep(12)), -3, -1) == "CIImageQOR.FromPixels: expected -3 x -1" .. rest)
        assert(got(nil, 0, 0) ==
               "CIImageQOR.FromPixels: expected 0 x 0 pixels of 4 bytes, got 0 bytes; no image was created")
        local image = CIImageQOR.FromColor(CIColorQOR.Hex("ffffff"))
        local function read(...) return refusal(image.Pixels, image, ...) end
        assert(read(nil) == "CIImageQOR.Pixels: the rectangle is nil; no pixels were read")
        assert(read(rectangle(0, 0, 0, 5)) == "CIImageQOR.Pixels: the rectangle is empty; no pixels were read")
        local large = "CIImageQOR.Pixels: the rectangle is too large, at most 134 million pixels can be read; " ..
                      "no pixels were read"
        assert(read(rectangle(0, 0, 1e9, 5)) == large)
        assert(read(image.Extent) == large)
        assert(refusal(image.ColorAt, image, 0 / 0, 0) ==
               "CIImageQOR.ColorAt: the point is not finite; no color was read")
        assert(refusal(CIImageQOR.FromColor, nil) == "CIImageQOR.FromColor: the color is nil; no image was created")
    )"),
              "");
}

TEST_F(CompanionScriptTest, AnImageOfTenThousandStepsIsMadeAndRendered) {
    EXPECT_EQ(Run(R"(
        local photo = CIImageQOR.FromPixels(bytes(("\200\100\50\255"):rep(6)), 3, 2)
        local function filtered(image)
            local invert = CIFilterColorInvertQOR()
            invert.inputImage = image
            return invert.outputImage
        end
        local steps = {
            function(i) return i:Over(i) end,
            function(i) return photo:Over(i) end,
            function(i) return i:Transform(NSAffineTransformQOR.Identity()) end,
            filtered,
        }
        for _, step in ipairs(steps) do
            local image = photo
            for _ = 1, 10000 do image = assert(step(image)) end
            assert(pixels(image) == pixels(photo))
        end
        assert(CIFilterGaussianBlurQOR().outputImage == nil)
    )"),
              "");
}

TEST_F(CompanionScriptTest, AnImageThatNeedsMoreMemoryThanThereIsRaisesTheReason) {
    EXPECT_EQ(Run(R"(
        local image = CIImageQOR.FromColor(CIColorQOR.Hex("ffffff")):Crop(rectangle(0, 0, 1e6, 1e6))
        assert(refusal(image.ToPNG, image) ==
               "CIImageQOR.ToPNG: the image cannot be rendered, 1000000 x 1000000 pixels need 4000 GB of memory, " ..
               "which is not available; nothing was encoded")
    )"),
              "");
}

TEST_F(CompanionScriptTest, EncodedFilesHoldTheSamePicture) {
    EXPECT_EQ(Run(R"(
        local rows = ("\255\0\0\255" .. "\0\0\255\255"):rep(32)
        local image = CIImageQOR.FromPixels(bytes(rows), 8, 8)
        assert(image:ToPNG().Bytes:sub(2, 4) == "PNG" and pixels(CIImageQOR.FromData(image:ToPNG())) == rows)
        local fine, rough = image:ToJPEG(1), image:ToJPEG(0)
        assert(fine.Bytes:sub(1, 2) == "\xff\xd8" and rough.Size < fine.Size)
        assert(CIImageQOR.FromData(rough).Extent.Text == "[0 0 8 8]")
        assert(near(CIImageQOR.FromData(fine):ColorAt(4, 4).Red, 1, 0.5))
        assert(refusal(image.ToJPEG, image, 1.5) ==
               "CIImageQOR.ToJPEG: the quality 1.5 is outside 0...1; nothing was encoded")
        assert(refusal(CIImageQOR.FromData, bytes("hello, no picture")) ==
               "CIImageQOR.FromData: not a PNG, JPEG, WebP, TIFF, AVIF or HEIF file; no image was created")
        assert(refusal(CIImageQOR.FromData, nil) == "CIImageQOR.FromData: the data is empty; no image was created")
        local infinite = CIImageQOR.FromColor(CIColorQOR.Hex("ffffff"))
        assert(refusal(infinite.ToPNG, infinite) ==
               "CIImageQOR.ToPNG: the image is infinite, crop it first; nothing was encoded")
    )"),
              "");
}

TEST_F(CompanionScriptTest, SaveWithQualityUsesTheQuality) {
    EXPECT_EQ(Run(R"(
        local folder = ...
        local image = CIImageQOR.FromPixels(bytes(("\255\0\0\255" .. "\0\0\255\255"):rep(32)), 8, 8)
        local function saved(quality)
            image:SaveWithQuality(folder .. "/a.jpg", quality)
            return io.open(folder .. "/a.jpg", "rb"):read("a")
        end
        assert(saved(0.1) == image:ToJPEG(0.1).Bytes and saved(0.9) == image:ToJPEG(0.9).Bytes)
        image:Save(folder .. "/b.jpg")
        assert(io.open(folder .. "/b.jpg", "rb"):read("a") == saved(0.9))
        image:SaveWithQuality(folder .. "/c.png", 0)
        assert(pixels(CIImageQOR.Open(folder .. "/c.png")) == pixels(image))
        assert(refusal(image.SaveWithQuality, image, folder .. "/d.jpg", -1) ==
               folder .. "/d.jpg: the quality -1 is outside 0...1; nothing was written")
        assert(not io.open(folder .. "/d.jpg"))
    )"),
              "");
}

TEST_F(CompanionScriptTest, ColorsSurviveAFileInAnotherColorSpace) {
    EXPECT_EQ(Run(R"(
        local folder = ...
        local file = folder .. "/p3.png"
        local image = CIImageQOR.FromPixels(bytes("\200\100\50\255" .. "\255\0\0\255"), 2, 1)
        local p3 = CGColorSpaceQOR.Named("displayP3")
        image:SaveInSpace(file, 1, p3)
        local opened = CIImageQOR.Open(file)
        assert(opened.ColorSpace.Name == nil and opened.ColorSpace.Profile.Bytes == p3.Profile.Bytes)
        for x = 0, 1 do
            local a, b = image:ColorAt(x, 0), opened:ColorAt(x, 0)
            assert(near(a.Red, b.Red, 0.005) and near(a.Green, b.Green, 0.005) and near(a.Blue, b.Blue, 0.005))
        end
        -- Without the profile the stored numbers are read as sRGB: these are the Display P3 numbers of pure sRGB red.
        local whole = io.open(file, "rb"):read("a")
        local start = whole:find("iCCP", 1, true) - 4
        local size = string.unpack(">I4", whole, start)
        local bare = CIImageQOR.FromData(bytes(whole:sub(1, start - 1) .. whole:sub(start + 12 + size)))
        local r, g, b = pixels(bare):byte(5, 7)
        assert(near(r, 234, 1) and near(g, 51, 1) and near(b, 35, 1))
        assert(refusal(image.SaveInSpace, image, folder .. "/no.png", 1, nil) ==
               "CIImageQOR.SaveInSpace: the color space is nil; nothing was written")
    )"),
              "");
}

TEST_F(CompanionScriptTest, SavedInAWorkingSpaceFiltersSeeItsNumbers) {
    EXPECT_EQ(Run(R"(
        local folder = ...
        local file = folder .. "/inverted.png"
        local invert = CIFilterColorInvertQOR()
        invert.inputImage = CIImageQOR.FromPixels(bytes("\100\30\0\255"), 1, 1)
        for _, space in ipairs{false, CGColorSpaceQOR.Named("sRGB")} do
            invert.outputImage:SaveInWorkingSpace(file, space or nil)
            assert(pixels(CIImageQOR.Open(file)) == "\155\225\255\255")
        end
        invert.outputImage:SaveInWorkingSpace(file, CGColorSpaceQOR.Named("linearSRGB"))
        assert(pixels(CIImageQOR.Open(file)) == pixels(invert.outputImage))
        local ok, failure = pcall(invert.outputImage.SaveInWorkingSpace, invert.outputImage, folder .. "/no.png",
                                  CGColorSpaceQOR.Named("genericGray"))
        assert(not ok and failure.message:find("the working space is not an RGB profile of curves", 1, true))
        assert(io.open(folder .. "/no.png") == nil)
    )"),
              "");
}

TEST_F(CompanionScriptTest, ColorSpaceFromAProfile) {
    EXPECT_EQ(Run(R"(
        local srgb = CGColorSpaceQOR.Named("sRGB")
        local same = CGColorSpaceQOR.FromProfile(srgb.Profile)
        assert(same.Profile.Bytes == srgb.Profile.Bytes and same.Name == nil)
        local image = CIImageQOR.FromPixels(bytes("\200\100\50\255"), 1, 1)
        assert(image.ColorSpace.Name == "kCGColorSpaceSRGB" and image:Crop(image.Extent).ColorSpace == nil)
        local folder = ...
        image:SaveInSpace(folder .. "/same.png", 1, same)
        assert(pixels(CIImageQOR.Open(folder .. "/same.png")) == pixels(image))
        for _, wrong in ipairs{"", "no profile", ("x"):rep(500)} do
            assert(refusal(CGColorSpaceQOR.FromProfile, bytes(wrong)) == "CGColorSpaceQOR.FromProfile: " ..
                   "the bytes are not an RGB or gray ICC profile; no color space was created")
        end
        local gray = CGColorSpaceQOR.Named("genericGray")
        local ok, failure = pcall(image.SaveInSpace, image, folder .. "/no.png", 1, gray)
        assert(not ok and failure.message:find("the color space is not RGB", 1, true))
        assert(CGColorSpaceQOR().Profile == nil)
    )"),
              "");
}

TEST_F(CompanionScriptTest, TransformMovesAndScalesAnImage) {
    EXPECT_EQ(Run(R"(
        local image = CIImageQOR.FromPixels(bytes("\255\0\0\255" .. "\0\0\255\255"), 2, 1)
        local identity = NSAffineTransformQOR.Identity()
        local moved = image:Transform(identity:Translate(5, -3))
        assert(moved.Extent.Text == "[5 -3 2 1]" and pixels(moved) == pixels(image))
        assert(image:Transform(identity:Scale(3, 2)).Extent.Text == "[0 0 6 2]")
        assert(refusal(image.Transform, image, nil) ==
               "CIImageQOR.Transform: the transform is nil; nothing was transformed")
        assert(refusal(image.Transform, image, identity:Scale(1, 0)) ==
               "CIImageQOR.Transform: the transform is not invertible; nothing was transformed")
    )"),
              "");
}

TEST_F(CompanionScriptTest, ResizedStretchesFitsAndFills) {
    EXPECT_EQ(Run(R"(
        local image = CIImageQOR.FromPixels(bytes(("\200\100\50\255"):rep(4 * 2)), 4, 2)
        local moved = image:Transform(NSAffineTransformQOR.Identity():Translate(-7, 3))
        for _, original in ipairs{image, moved} do
            for mode, extent in pairs{stretch = "[0 0 6 6]", fit = "[0 0 6 3]", fill = "[0 0 6 6]"} do
                local resized = original:Resized(6, 6, mode)
                assert(resized.Extent.Text == extent, mode)
                assert(pixels(resized) == ("\200\100\50\255"):rep(#pixels(resized) // 4), mode)
            end
        end
        local two = CIImageQOR.FromPixels(bytes("\0\0\0\255" .. "\255\255\255\255"), 2, 1):Resized(1, 1, "stretch")
        -- the mean of the light
        assert(near(two:ColorAt(0, 0).Red, 1.055 * 0.5 ^ (1 / 2.4) - 0.055, 1e-5))
    )"),
              "");
}

TEST_F(CompanionScriptTest, CoveringStretchesOverTheExtentOfAnotherImage) {
    EXPECT_EQ(Run(R"(
        local image = CIImageQOR.FromPixels(bytes(("\200\100\50\255"):rep(4 * 2)), 4, 2)
        local other = image:Crop(rectangle(1, 0, 2, 2))
        local two = CIImageQOR.FromPixels(bytes("\0\0\0\255" .. "\255\255\255\255"), 2, 1)
        assert(two:Covering(other).Extent.Text == "[1 0 2 2]")
        assert(two:Covering(other):ColorAt(1.5, 1.5).Red == 0)
        assert(near(two:Covering(other):ColorAt(2.5, 0.5).Red, 1, 1e-5))
        local function refused(image, covered)
            return refusal(image.Covering, image, covered):match("^CIImageQOR.Covering: (.*)$")
        end
        assert(refused(two, nil) == "the other image is nil; nothing was resized")
        local plane = CIImageQOR.FromColor(CIColorQOR.Hex("#123456"))
        local nothing = image:Crop(rectangle(9, 9, 1, 1))
        assert(refused(two, plane) == "an image is infinite, crop it first; nothing was resized")
        assert(refused(plane, two) == "an image is infinite, crop it first; nothing was resized")
        assert(refused(two, nothing) == "an image is empty; nothing was resized")
        assert(refused(nothing, two) == "an image is empty; nothing was resized")
        assert(CIImageQOR():Covering(two) == nil)
    )"),
              "");
}

TEST_F(CompanionScriptTest, ResizedRefusesWrongSizesModesAndImages) {
    EXPECT_EQ(Run(R"(
        local image = CIImageQOR.FromPixels(bytes("\1\2\3\255"), 1, 1)
        local function refused(image, ...)
            return refusal(image.Resized, image, ...):match("^CIImageQOR.Resized: (.*)$")
        end
        assert(refused(image, 0, 5, "fit") == "0 x 5 is not a size, expected at least 1 x 1; nothing was resized")
        assert(refused(image, 5, -1, "fit") == "5 x -1 is not a size, expected at least 1 x 1; nothing was resized")
        assert(refused(image, 5, 5, "Fit") == "the mode 'Fit' is not stretch, fit or fill; nothing was resized")
        local plane = CIImageQOR.FromColor(CIColorQOR.Hex("#123456"))
        assert(refused(plane, 5, 5, "fit") == "the image is infinite, crop it first; nothing was resized")
        local nothing = image:Crop(rectangle(5, 5, 1, 1))
        assert(refused(nothing, 5, 5, "fit") == "the image is empty; nothing was resized")
        assert(CIImageQOR():Resized(5, 5, "fit") == nil)
    )"),
              "");
}

TEST_F(CompanionScriptTest, IsPictureLooksAtTheContentNotTheName) {
    EXPECT_EQ(Run(R"(
        local folder = ...
        local image = CIImageQOR.FromPixels(bytes(("\1\2\3\255"):rep(64 * 64)), 64, 64)
        local function written(name, content)
            local file <close> = io.open(folder .. name, "wb")
            file:write(content)
            return folder .. name
        end
        assert(CIImageQOR.IsPicture(written("a.txt", image:ToPNG().Bytes)))
        assert(CIImageQOR.IsPicture(written("b", image:ToJPEG(0.5).Bytes)))
        for _, content in ipairs{"", "\x89", "text that is long enough to be anything" .. (" "):rep(99)} do
            assert(not CIImageQOR.IsPicture(written("c.png", content)))
        end
        assert(not CIImageQOR.IsPicture(folder) and not CIImageQOR.IsPicture(folder .. "missing.png"))
    )"),
              "");
}

TEST_F(CompanionScriptTest, OverCompositesInLinearLight) {
    EXPECT_EQ(Run(R"(
        local function plain(hex, ...) return CIImageQOR.FromColor(CIColorQOR.Hex(hex)):Crop(rectangle(...)) end
        local below = plain("#0000ff", 0, 0, 3, 1)
        local both = plain("#ff0000", 2, 0, 2, 1):Over(below)
        assert(both.Extent.Text == "[0 0 4 1]")
        assert(pixels(both) == ("\0\0\255\255"):rep(2) .. ("\255\0\0\255"):rep(2))
        local glass = CIImageQOR.FromPixels(bytes("\255\255\255\51"), 1, 1):Over(below):ColorAt(0, 0)
        assert(near(glass.Alpha, 1, 1e-5) and near(glass.Blue, 1, 1e-5) and near(glass.Red, glass.Green))
        -- one fifth of white in linear light, encoded as sRGB
        assert(near(glass.Red, 1.055 * 0.2 ^ (1 / 2.4) - 0.055, 1e-3))
        local function one(pixel) return CIImageQOR.FromPixels(bytes(pixel), 1, 1) end
        local air = one("\255\0\0\128"):Over(one("\0\0\0\0"))
        assert(pixels(air) == "\255\0\0\128")
        assert(refusal(below.Over, below, nil) == "CIImageQOR.Over: the background is nil; nothing was composited")
    )"),
              "");
}

TEST_F(CompanionScriptTest, PicturesOfEveryOrientationAreUpright) {
    EXPECT_EQ(Run(R"(
        local function crc(text)
            local sum = 0xffffffff
            for i = 1, #text do
                sum = sum ~ text:byte(i)
                for _ = 1, 8 do sum = (sum >> 1) ~ ((sum & 1) * 0xedb88320) end
            end
            return ~sum & 0xffffffff
        end
        local function pixel(letter) return string.char(letter:byte() * 2, 0, 9, 255) end
        local function letters(text) return (text:gsub("%u", pixel)) end
        local header = 8 + 25
        local file = CIImageQOR.FromPixels(bytes(letters("ABCDEF")), 3, 2):ToPNG().Bytes
        local function taken(orientation, order)
            local mark = order == "<" and "II" or "MM"
            local exif = mark .. string.pack(order .. "I2I4I2I2I2I4I2I2I4", 42, 8, 1, 0x112, 3, 1, orientation, 0, 0)
            local chunk = string.pack(">I4", #exif) .. "eXIf" .. exif .. string.pack(">I4", crc("eXIf" .. exif))
            return CIImageQOR.FromData(bytes(file:sub(1, header) .. chunk .. file:sub(header + 1)))
        end
        local upright = {"ABCDEF", "CBAFED", "FEDCBA", "DEFABC", "ADBECF", "DAEBFC", "FCEBDA", "CFBEAD"}
        for orientation, expected in ipairs(upright) do
            for order in ("<>"):gmatch(".") do
                local image = taken(orientation, order)
                assert(image.Extent.Text == (orientation < 5 and "[0 0 3 2]" or "[0 0 2 3]"))
                assert(pixels(image) == letters(expected), orientation)
            end
        end
        assert(pixels(taken(9, "<")) == letters("ABCDEF"))
    )"),
              "");
}

}  // namespace
