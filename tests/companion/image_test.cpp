// image_test.cpp - opening, cropping and saving images, and the messages of failures.

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/companion/companion_test.h"
#include "tests/companion/platform_side.h"

namespace {

using host::ObjectReference;
using host::TextValue;
using host::Value;
using Pixel = std::array<int, 4>;

class ImageTest : public CompanionTest {
  protected:
    ObjectReference OpenPicture() { return Open(File("picture.png", Picture())); }

    std::vector<double> Extent(const ObjectReference& image) { return Numbers(Object(image, "Extent")); }

    ObjectReference Crop(const ObjectReference& image, double x, double y, double width, double height) {
        const Value rectangle[] = {Shared("CIVectorQOR", "Rectangle", {x, y, width, height})};
        return std::get<ObjectReference>(host.Call(image.Get(), "Crop", rectangle));
    }

    void Save(const ObjectReference& image, const std::string& path) {
        const Value arguments[] = {TextValue(path)};
        host.Call(image.Get(), "Save", arguments);
    }

    // Returns the message of a failure without the exception's class and the path at its start.
    std::string OpenRefusal(const std::string& path) {
        return WithoutPath(path, TextOfError([&] { Open(path); }));
    }
    std::string SaveRefusal(const ObjectReference& image, const std::string& path) {
        return WithoutPath(path, TextOfError([&] { Save(image, path); }));
    }

    static std::string WithoutPath(const std::string& path, const std::string& text) {
        const std::string prefix = "RuntimeException: " + path + ": ";
        return text.starts_with(prefix) ? text.substr(prefix.size()) : "(no path) " + text;
    }
};

TEST_F(ImageTest, OpenedPictureHasItsSizeAndPixels) {
    const auto image = OpenPicture();
    EXPECT_EQ(Extent(image), (std::vector<double>{0, 0, 3, 2}));
    EXPECT_EQ(PixelOf(image.Get(), 0, 1), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(PixelOf(image.Get(), 0, 0), (Pixel{10, 20, 30, 255}));
}

TEST_F(ImageTest, OpenedPictureKeepsItsBitmap) {
    const auto image = OpenPicture();
    EXPECT_TRUE(HasBitmap(image.Get()));
    EXPECT_EQ(RetainCountOfWrapped(image.Get()), 1u);
    EXPECT_FALSE(HasBitmap(Crop(image, 0, 0, 1, 1).Get()));
}

TEST_F(ImageTest, OpenFailureNamesTheReason) {
    EXPECT_EQ(OpenRefusal(Path("none.png")), "no such file or directory; no image was opened");
    EXPECT_EQ(OpenRefusal(Path("")), "the path is a folder, not a picture; no image was opened");
    EXPECT_EQ(OpenRefusal(File("empty.png", "")), "the file is too short to be a picture; no image was opened");
    EXPECT_EQ(OpenRefusal(File("text.png", "hello, this is text and not a picture")),
              "not a PNG, JPEG, WebP, TIFF, AVIF or HEIF file; no image was opened");
    EXPECT_EQ(OpenRefusal(File("cut.png", Picture().substr(0, 60))), "the file is truncated; no image was opened");
    std::string broken = Picture();
    broken[50] ^= 0x55;
    EXPECT_EQ(OpenRefusal(File("broken.png", broken)), "the picture is damaged; no image was opened");
}

TEST_F(ImageTest, EmptyPathRaises) {
    EXPECT_EQ(TextOfError([&] { Open(""); }),
              "RuntimeException: CIImageQOR.Open: the path is empty; no image was opened");
    EXPECT_EQ(TextOfError([&] { Save(OpenPicture(), ""); }),
              "RuntimeException: CIImageQOR.Save: the path is empty; nothing was written");
}

TEST_F(ImageTest, PathsMayHaveNonAsciiLetters) {
    const std::string path = Path("Grüße, 写真.png");
    Save(Open(File("Ärger.png", Picture())), path);
    EXPECT_EQ(Extent(Open(path)), (std::vector<double>{0, 0, 3, 2}));
}

TEST_F(ImageTest, PathsAreBytesThatNeedNotBeText) {
    const auto image = Open(File("gr\xfc\xdf.png", Picture()));
    Save(Crop(image, 0, 0, 1, 1), Path("caf\xe9.png"));
    Save(image, Path("caf\u00e9.png"));  // what the bytes above are in another encoding
    EXPECT_EQ(Extent(Open(Path("caf\xe9.png"))), (std::vector<double>{0, 0, 1, 1}));
    EXPECT_EQ(Extent(Open(Path("caf\u00e9.png"))), (std::vector<double>{0, 0, 3, 2}));
    std::filesystem::remove(Path("caf\xe9.png"));
    EXPECT_EQ(TextOfError([&] { Open(Path("caf\xe9.png")); }),
              "RuntimeException: " + Path("caf\\xe9.png") + ": no such file or directory; no image was opened");
}

TEST_F(ImageTest, PathsWithAZeroByteAreRefused) {
    const auto image = OpenPicture();
    const std::string path = Path("a.png") + std::string("\0.jpg", 5);
    EXPECT_EQ(TextOfError([&] { Save(image, path); }),
              "RuntimeException: CIImageQOR.Save: the path contains a zero byte; nothing was written");
    EXPECT_EQ(TextOfError([&] { Open(path); }),
              "RuntimeException: CIImageQOR.Open: the path contains a zero byte; no image was opened");
    EXPECT_FALSE(std::filesystem::exists(Path("a.png")));
}

TEST_F(ImageTest, APipeIsNotOpened) {
    ASSERT_EQ(mkfifo(Path("pipe.png").c_str(), 0600), 0);
    EXPECT_EQ(OpenRefusal(Path("pipe.png")), "the path is a pipe or a device, not a picture; no image was opened");
}

TEST_F(ImageTest, APictureThatIsTooLargeIsNotCalledDamaged) {
    std::string large = Picture();
    large.replace(16, 8, std::string("\0\0\x80\0\0\0\x80\0", 8));  // width and height
    std::uint32_t sum = 0xffffffff;
    for (std::size_t i = 12; i < 29; ++i) {
        sum ^= static_cast<unsigned char>(large[i]);
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xedb88320 : 0);
    }
    for (int i = 0; i < 4; ++i) large[static_cast<std::size_t>(29 + i)] = static_cast<char>(~sum >> (24 - 8 * i));
    EXPECT_EQ(OpenRefusal(File("large.png", large)),
              "the picture has 32768 x 32768 pixels, at most 268 million can be read without --pixel-limit; "
              "no image was opened");
}

TEST_F(ImageTest, SaveFailureHasTheReasonAndTheNumberOfTheSystem) {
    const auto image = OpenPicture();
    std::filesystem::create_symlink("/dev/full", Path("full.png"));
    try {
        Save(image, Path("full.png"));
        FAIL();
    } catch (const host::HostException& exception) {
        EXPECT_EQ(exception.Message(), Path("full.png") + ": no space left on device; nothing was written");
        EXPECT_EQ(exception.ErrorNumber(), ENOSPC);
    }
    EXPECT_EQ(SaveRefusal(image, Path(std::string(300, 'n') + ".png")), "file name too long; nothing was written");
    Save(image, Path(std::string(251, 'n') + ".png"));
}

TEST_F(ImageTest, SidesOfAJpegAreLimitedByTheFormat) {
    const auto image = OpenPicture();
    MakeInfinite(image.Get());
    Save(Crop(image, 0, 0, 65500, 1), Path("a.jpg"));
    EXPECT_EQ(SaveRefusal(Crop(image, 0, 0, 1, 65501), Path("b.jpg")),
              "1 x 65501 pixels are too large for a JPEG, whose sides have at most 65500; nothing was written");
    const Value quality[] = {0.5};
    const auto wide = Crop(image, 0, 0, 65501, 1);
    EXPECT_EQ(
        TextOfError([&] { host.Call(wide.Get(), "ToJPEG", quality); }),
        "RuntimeException: CIImageQOR.ToJPEG: 65501 x 1 pixels are too large for a JPEG, whose sides have at most "
        "65500; nothing was encoded");
    Save(wide, Path("c.png"));
}

TEST_F(ImageTest, CropKeepsThePosition) {
    const auto part = Crop(OpenPicture(), 1, 1, 5, 5);
    EXPECT_EQ(Extent(part), (std::vector<double>{1, 1, 2, 1}));
    EXPECT_EQ(PixelOf(part.Get(), 1, 1), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(PixelOf(part.Get(), 0, 1), (Pixel{0, 0, 0, 0}));
}

TEST_F(ImageTest, CropRaisesUnlessTheRectangleHasFourNumbers) {
    const auto image = OpenPicture();
    for (const auto& [numbers, count] : {std::pair{"1 2", "2"}, {"1 2 3 4 5", "5"}}) {
        const Value vector[] = {Shared("CIVectorQOR", "FromNumbers", {TextValue(numbers)})};
        EXPECT_EQ(TextOfError([&] { host.Call(image.Get(), "Crop", vector); }),
                  std::string("RuntimeException: CIImageQOR.Crop: a rectangle has 4 numbers, got ") + count +
                      "; nothing was cropped");
    }
    const Value nil[] = {Value()};
    EXPECT_EQ(TextOfError([&] { host.Call(image.Get(), "Crop", nil); }),
              "RuntimeException: CIImageQOR.Crop: the rectangle is nil; nothing was cropped");
}

TEST_F(ImageTest, SavedPngHasTheSamePixels) {
    Save(OpenPicture(), Path("saved.png"));
    const auto saved = Open(Path("saved.png"));
    EXPECT_EQ(PixelOf(saved.Get(), 2, 1), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(PixelOf(saved.Get(), 2, 0), (Pixel{35, 40, 45, 128}));
}

TEST_F(ImageTest, SuffixSelectsTheFileFormat) {
    const auto image = OpenPicture();
    for (const char* name : {"a.jpg", "b.JPEG", "c.Png"}) {
        Save(image, Path(name));
        EXPECT_EQ(Extent(Open(Path(name))), (std::vector<double>{0, 0, 3, 2})) << name;
    }
    const std::string kUnknownSuffix =
        "the suffix must be that of a PNG, JPEG, WebP, TIFF, AVIF or HEIF file; nothing was written";
    EXPECT_EQ(SaveRefusal(image, Path("d.gif")), kUnknownSuffix);
    EXPECT_EQ(SaveRefusal(image, Path("e")), kUnknownSuffix);
}

TEST_F(ImageTest, SaveFailureNamesTheFolder) {
    const auto image = OpenPicture();
    EXPECT_EQ(SaveRefusal(image, Path("none/a.png")), "there is no folder " + Path("none") + "; nothing was written");
    std::filesystem::create_directory(Path("folder.png"));
    EXPECT_EQ(SaveRefusal(image, Path("folder.png")), "the path is a folder; nothing was written");
}

TEST_F(ImageTest, EmptyAndInfiniteImagesAreNotSaved) {
    const auto image = OpenPicture();
    MakeEmpty(image.Get());
    EXPECT_EQ(SaveRefusal(image, Path("a.png")), "the image is empty; nothing was written");
    MakeInfinite(image.Get());
    EXPECT_EQ(SaveRefusal(image, Path("a.png")), "the image is infinite, crop it first; nothing was written");
    EXPECT_EQ(SaveRefusal(host.NewInstance("CIImageQOR"), Path("a.png")), "the image is empty; nothing was written");
    EXPECT_FALSE(std::filesystem::exists(Path("a.png")));
}

TEST_F(ImageTest, ImageTooLargeToRenderIsNotSaved) {
    const auto image = OpenPicture();
    MakeInfinite(image.Get());
    EXPECT_EQ(SaveRefusal(Crop(image, 0, 0, 1e9, 1e9), Path("a.png")),
              "the image cannot be rendered, 1000000000 x 1000000000 pixels need 4000000000 GB of memory, which is not "
              "available; nothing was written");
}

TEST_F(ImageTest, FilterRendersAnOpenedPicture) {
    const auto filter = host.Construct("CIFilterColorControlsQOR");
    host.Set(filter.Get(), "inputImage", OpenPicture());
    host.Set(filter.Get(), "inputBrightness", -1.0);
    Save(Object(filter, "outputImage"), Path("dark.png"));
    EXPECT_EQ(PixelOf(Open(Path("dark.png")).Get(), 0, 1), (Pixel{0, 0, 0, 255}));
}

}  // namespace
