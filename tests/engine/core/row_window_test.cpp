// row_window_test.cpp - counts the rows that are decoded for large pictures, and compares them with bitmaps in memory.

#include "core/row_window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "blur/blur.h"
#include "core/cropped.h"
#include "core/renderer.h"
#include "engine/engine.h"
#include "engine/failure.h"
#include "sampling/affine.h"
#include "sampling/resized.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

constexpr std::size_t kWidth = 4096, kHeight = 2048;
constexpr std::size_t kBytesPerRow = kWidth * 4;
constexpr std::uint64_t kMegabyte = 1 << 20;

// A picture that is decoded row by row.
struct Picture {
    std::size_t next = 0, rowsRead = 0;
    std::size_t broken = SIZE_MAX;  // the first row that cannot be decoded
    int rewinds = 0;
    std::uint64_t mostInUse = 0;  // the most memory in use when rows are read

    static std::uint8_t Byte(std::size_t row, std::size_t index) {
        return index % 4 == 3 ? 255 : static_cast<std::uint8_t>(row * 7 + index * 5 + row * index / 64);
    }

    const char* Read(std::uint8_t* rows, std::size_t count) {
        mostInUse = std::max(mostInUse, MemoryBudget::Default().Used());
        for (; count > 0; --count, ++next, ++rowsRead, rows += kBytesPerRow) {
            if (next == broken) return "a.jpg: the file is truncated";
            for (std::size_t index = 0; index < kBytesPerRow; ++index) rows[index] = Byte(next, index);
        }
        return nullptr;
    }

    RowReader Reader() {
        return {this,
                [](void* object, void* rows, std::size_t count) {
                    return static_cast<Picture*>(object)->Read(static_cast<std::uint8_t*>(rows), count);
                },
                [](void* object) {
                    auto* picture = static_cast<Picture*>(object);
                    picture->next = 0;
                    ++picture->rewinds;
                },
                [](void*) {}};
    }

    std::shared_ptr<RowWindow> Window() {
        return std::make_shared<RowWindow>(Reader(), nullptr, kHeight, kBytesPerRow);
    }

    static BitmapSource Source() {
        BitmapSource source;
        source.width = kWidth;
        source.height = kHeight;
        source.bytesPerRow = kBytesPerRow;
        return source;
    }

    ImageRef Streamed() { return MakeStreamedImage(Source(), Window()); }

    // The same picture in memory.
    static ImageRef Bitmap() {
        auto bytes = std::make_shared<std::vector<std::uint8_t>>(kHeight * kBytesPerRow);
        Picture().Read(bytes->data(), kHeight);
        BitmapSource source = Source();
        source.pixels = bytes->data();
        return MakeBitmapImage(source, std::move(bytes));
    }
};

// Renders an image of the picture's size in strips from the top down, all in one session.
std::vector<std::uint8_t> InStrips(const ImageRef& image, std::int64_t rows) {
    std::vector<std::uint8_t> bytes(kHeight * kBytesPerRow);
    RenderSession session;
    constexpr auto kTop = static_cast<std::int64_t>(kHeight);
    for (std::int64_t begin = 0; begin < kTop; begin += rows) {
        const std::int64_t end = std::min(begin + rows, kTop);
        BitmapDestination destination;
        destination.pixels = bytes.data() + static_cast<std::size_t>(begin) * kBytesPerRow;
        destination.bytesPerRow = kBytesPerRow;
        Render(image, {0, kTop - end, kWidth, end - begin}, destination, {}, MemoryBudget::Default(), &session);
    }
    return bytes;
}

std::vector<std::uint8_t> AtOnce(const ImageRef& image) { return InStrips(image, kHeight); }

// A limit of the default budget, for a test.
struct Limit {
    explicit Limit(std::uint64_t bytes) { MemoryBudget::Default().SetLimit(bytes); }
    ~Limit() { MemoryBudget::Default().SetLimit(MemoryBudget::DefaultLimit()); }
};

TEST(RowWindowTest, RowsInOrderAreDecodedOnce) {
    Picture picture;
    const auto window = picture.Window();
    for (std::size_t first = 0; first < kHeight; first += 256) {
        const std::size_t begin = first < 100 ? 0 : first - 100, end = std::min(first + 355, kHeight - 1);
        const RowWindow::Strips strips = window->Rows(begin, end);
        EXPECT_LE(strips.front()->First(), begin);
        EXPECT_GT(strips.back()->First() + strips.back()->Count(), end);
        // Another user of the same rows.
        EXPECT_EQ(window->Rows(first, first + 255).front()->Bytes()[2], Picture::Byte(first, 2));
    }
    EXPECT_EQ(picture.rowsRead, kHeight);
    EXPECT_EQ(picture.rewinds, 0);
}

TEST(RowWindowTest, RowsAboveTheWindowAreDecodedAgainAndThenKept) {
    Picture picture;
    const auto window = picture.Window();
    static_cast<void>(window->Rows(1024, 2047));
    EXPECT_EQ(picture.rewinds, 0);
    EXPECT_EQ(window->Rows(0, 63).front()->Bytes()[1], Picture::Byte(0, 1));
    EXPECT_EQ(picture.rewinds, 1);
    static_cast<void>(window->Rows(0, 2047));
    const std::size_t read = picture.rowsRead;
    for (std::size_t first = kHeight; first > 0; first -= 256) static_cast<void>(window->Rows(first - 256, first - 1));
    EXPECT_EQ(picture.rowsRead, read);
}

TEST(RowWindowTest, ShortageFreesKeptRows) {
    const Limit limit(12 * kMegabyte);
    Picture picture;
    const auto window = picture.Window();
    static_cast<void>(window->Rows(0, 511));
    EXPECT_EQ(MemoryBudget::Default().Used(), 8 * kMegabyte);
    MemoryBudget::Default().Take(10 * kMegabyte);
    EXPECT_EQ(MemoryBudget::Default().Used(), 10 * kMegabyte);
    MemoryBudget::Default().Return(10 * kMegabyte);
}

TEST(RowWindowTest, RequestBeyondTheBudgetThrows) {
    const Limit limit(12 * kMegabyte);
    Picture picture;
    EXPECT_THROW(static_cast<void>(picture.Window()->Rows(0, 1023)), MemoryShortage);
    EXPECT_EQ(MemoryBudget::Default().Used(), 0u);
}

TEST(RowWindowTest, FailureNamesThePicture) {
    Picture picture;
    picture.broken = 1000;
    ImageHandle* image = MakeStreamed(Picture::Source(), {}, {picture.Reader()});
    std::vector<std::uint8_t> bytes(kBytesPerRow * 8);
    BitmapDestination destination;
    destination.pixels = bytes.data();
    destination.bytesPerRow = kBytesPerRow;
    EXPECT_TRUE(RenderImage(image, {0, kHeight - 8, kWidth, 8}, destination, {}));
    errno = 0;
    EXPECT_FALSE(RenderImage(image, {0, 0, kWidth, 8}, destination, {}));
    EXPECT_EQ(errno, EBADMSG);
    EXPECT_STREQ(LatestFailure(), "a.jpg: the file is truncated");
    // The rows before the broken one are still there.
    EXPECT_TRUE(RenderImage(image, {0, kHeight - 8, kWidth, 8}, destination, {}));
    DisposeImage(image);
}

TEST(StreamedImageTest, StripsAreThoseOfTheBitmap) {
    const auto recipes = {
        +[](const ImageRef& image) { return image; },
        +[](const ImageRef& image) { return MakeGaussianBlurImage(image, 3); },
        +[](const ImageRef& image) { return MakeGaussianBlurImage(image, 60); },
        // Upside down.
        +[](const ImageRef& image) {
            return MakeAffineImage(image, {1, 0, 0, -1, 0, kHeight});
        },
    };
    for (const auto& recipe : recipes) {
        Picture picture;
        EXPECT_TRUE(InStrips(recipe(picture.Streamed()), 300) == AtOnce(recipe(Picture::Bitmap())));
    }
}

TEST(StreamedImageTest, ShrunkPicturePassesThroughMemory) {
    constexpr std::int64_t kShrunkWidth = kWidth / 8, kShrunkHeight = kHeight / 8;
    const auto pixels = [](const ImageRef& image) {
        const ImageRef shrunk = MakeResizedImage(image, kShrunkWidth, kShrunkHeight, ResizeMode::kStretch);
        std::vector<float> floats(kShrunkWidth * kShrunkHeight * 4);
        BitmapDestination destination;
        destination.pixels = floats.data();
        destination.bytesPerRow = kShrunkWidth * 16;
        destination.format = PixelFormat::kFloats;
        destination.transfer = Transfer::kLinear;
        Render(FilterValues().Image("inputImage", shrunk).Output("CIColorInvert"), {0, 0, kShrunkWidth, kShrunkHeight},
               destination);
        return floats;
    };
    Picture picture;
    EXPECT_EQ(pixels(picture.Streamed()), pixels(Picture::Bitmap()));
    EXPECT_EQ(picture.rowsRead, kHeight);
    // The rows that a block reads and those that the window keeps; the whole picture has 32 MB.
    EXPECT_LE(picture.mostInUse, 18 * kMegabyte);
}

TEST(StreamedImageTest, ReductionDecodesThePictureOnceMore) {
    // The picture with its mean added.
    const auto recipe = [](const ImageRef& image) {
        const ImageRef mean = FilterValues()
                                  .Image("inputImage", image)
                                  .Vector("inputExtent", {0, 0, kWidth, kHeight})
                                  .Output("CIAreaAverage");
        const ImageRef everywhere = FilterValues()
                                        .Image("inputImage", mean)
                                        .Vector("inputTransform", {1, 0, 0, 1, 0, 0})
                                        .Output("CIAffineTile");
        return MakeCroppedImage(FilterValues()
                                    .Image("inputImage", image)
                                    .Image("inputBackgroundImage", everywhere)
                                    .Output("CIAdditionCompositing"),
                                image->GetExtent());
    };
    // Too little for the picture, so that a third time would show.
    const Limit limit(40 * kMegabyte);
    Picture picture;
    const std::vector<std::uint8_t> strips = InStrips(recipe(picture.Streamed()), 256);
    EXPECT_EQ(picture.rewinds, 1);
    EXPECT_LE(picture.rowsRead, 2 * kHeight);
    EXPECT_TRUE(strips == AtOnce(recipe(Picture::Bitmap())));
}

}  // namespace
