// resized_test.cpp - compares resized images with the Lanczos kernel in doubles, evaluated for each pixel.

#include "sampling/resized.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <tuple>
#include <vector>

#include "blur/blur.h"
#include "core/buffered.h"
#include "core/tile.h"
#include "engine/engine.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

constexpr ResizeMode kResizeModes[] = {ResizeMode::kStretch, ResizeMode::kFit, ResizeMode::kFill};

double Sinc(double t) { return t == 0 ? 1 : std::sin(std::numbers::pi * t) / (std::numbers::pi * t); }

double Lanczos3(double t) { return std::abs(t) < 3 ? Sinc(t) * Sinc(t / 3) : 0; }

// One direction of a resized image: the weights of the input pixels 0...length - 1 for a place among them.
std::vector<double> WeightsAt(double place, double step, std::int64_t length) {
    std::vector<double> weights;
    double sum = 0;
    for (std::int64_t pixel = 0; pixel < length; ++pixel) {
        weights.push_back(Lanczos3((static_cast<double>(pixel) + 0.5 - place) / std::max(1.0, step)));
        sum += weights.back();
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

void ExpectLanczos(const Source& source, std::int64_t width, std::int64_t height, ResizeMode mode) {
    const ImageRef image = MakeResizedImage(source.image, width, height, mode);
    const auto inputWidth = static_cast<double>(source.region.width);
    const auto inputHeight = static_cast<double>(source.region.height);
    double stepX = inputWidth / static_cast<double>(width), stepY = inputHeight / static_cast<double>(height);
    if (mode == ResizeMode::kFit) {
        const double step = std::max(stepX, stepY);
        width = std::max(1L, std::lround(inputWidth / step));
        height = std::max(1L, std::lround(inputHeight / step));
        stepX = inputWidth / static_cast<double>(width);
        stepY = inputHeight / static_cast<double>(height);
    }
    if (mode == ResizeMode::kFill) stepX = stepY = std::min(stepX, stepY);
    ASSERT_EQ(image->GetExtent(), (Extent{0, 0, static_cast<double>(width), static_cast<double>(height)}));
    double cutX = (inputWidth - stepX * static_cast<double>(width)) / 2;
    double cutY = (inputHeight - stepY * static_cast<double>(height)) / 2;
    if (stepX == 1) cutX = std::floor(cutX);
    if (stepY == 1) cutY = std::floor(cutY);
    std::vector<std::vector<double>> columns, rows;
    for (std::int64_t x = 0; x < width; ++x) {
        columns.push_back(WeightsAt(cutX + (static_cast<double>(x) + 0.5) * stepX, stepX, source.region.width));
    }
    for (std::int64_t y = 0; y < height; ++y) {
        rows.push_back(WeightsAt(cutY + (static_cast<double>(y) + 0.5) * stepY, stepY, source.region.height));
    }
    ExpectPixels(image, {-2, -1, width + 5, height + 3}, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
        if (x < 0 || x >= width || y < 0 || y >= height) return 0.0;
        double sum = 0;
        for (std::size_t j = 0; j < rows[0].size(); ++j) {
            for (std::size_t i = 0; i < columns[0].size(); ++i) {
                sum += columns[static_cast<std::size_t>(x)][i] * rows[static_cast<std::size_t>(y)][j] *
                       source.At(source.region.x + static_cast<std::int64_t>(i),
                                 source.region.y + static_cast<std::int64_t>(j), channel);
            }
        }
        return sum;
    });
}

TEST(ResizedTest, MatchesTheKernelInDoubles) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const Source source = RandomSource(random);
        const std::int64_t width = random.Whole(1, 70), height = random.Whole(1, 70);
        for (const ResizeMode mode : kResizeModes) ExpectLanczos(source, width, height, mode);
        if (HasFatalFailure()) return;
    }
}

// Returns a picture of opaque random pixels, stored as bytes.
ImageRef OpaquePicture(std::size_t width, std::size_t height) {
    Random random;
    auto bytes = std::make_shared<std::vector<std::uint8_t>>();
    for (std::size_t index = 0; index < 4 * width * height; ++index) {
        bytes->push_back(index % 4 == 3 ? 255 : static_cast<std::uint8_t>(random.Whole(0, 255)));
    }
    BitmapSource bitmap;
    bitmap.pixels = bytes->data();
    bitmap.width = width;
    bitmap.height = height;
    bitmap.bytesPerRow = 4 * width;
    return MakeBitmapImage(bitmap, bytes);
}

TEST(ResizedTest, OpaquePicturesStayExactlyOpaque) {
    const ImageRef picture = OpaquePicture(301, 203);
    for (const auto& [width, height] : {std::array{97, 41}, std::array{7, 300}, std::array{640, 480}}) {
        const std::vector<float> pixels =
            Pixels(MakeResizedImage(picture, width, height, ResizeMode::kStretch), {0, 0, width, height});
        for (std::size_t index = 3; index < pixels.size(); index += 4) ASSERT_EQ(pixels[index], 1) << index / 4;
    }
}

TEST(ResizedTest, AveragesLight) {
    const ImageRef one = MakeResizedImage(BlackAndWhite(), 1, 1, ResizeMode::kStretch);
    EXPECT_EQ(Pixels(one, {0, 0, 1, 1}), (std::vector<float>{0.5f, 0.5f, 0.5f, 1}));
}

TEST(ResizedTest, DoesNotDependOnTilesBlocksOrThreads) {
    const ImageRef picture = MakeGaussianBlurImage(OpaquePicture(419, 377), 1.5);
    for (const auto& [width, height] : {std::array{120, 90}, std::array{150, 500}}) {
        const ImageRef image = MakeResizedImage(picture, width, height, ResizeMode::kStretch);
        const Region all = {0, 0, width, height};
        const std::vector<float> whole = Pixels(image, all, {4096, 4096, 4096});
        for (const Cut& cut : {Cut{}, Cut{4096, 1, 500}, Cut{4096, 150, 1}, Cut{64, 17, 5}, Cut{101, 32, 32}}) {
            EXPECT_EQ(Pixels(image, all, cut), whole) << cut.blockEdge << ": " << cut.tileWidth;
        }
        const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, 1);
        EXPECT_EQ(Pixels(image, all), whole);
    }
}

// Fills memory that is free, so that reading what was never written shows.
void PoisonFreeMemory() {
    std::vector<PixelBlock> blocks;
    for (std::int64_t width = 1; width < 600; width += 7) {
        blocks.emplace_back(Region{0, 0, width, 72});
        const Tile tile = blocks.back().GetTile();
        std::fill_n(tile.pixels, tile.floatsPerRow * tile.region.height, std::nanf(""));
    }
}

TEST(ResizedTest, ReadsHeldPixelsAndStripsOfAnyHeightAlike) {
    const ImageRef blurred = MakeGaussianBlurImage(OpaquePicture(200, 331), 2);
    Region all;
    ASSERT_TRUE(RegionOfExtent(blurred->GetExtent(), &all));
    const Source bitmap = SourceOf(all, Pixels(blurred, all));
    PoisonFreeMemory();
    const ImageRef strips = MakeResizedImage(blurred, 31, 29, ResizeMode::kStretch);
    const ImageRef held = MakeResizedImage(bitmap.image, 31, 29, ResizeMode::kStretch);
    EXPECT_EQ(Pixels(strips, {0, 0, 31, 29}), Pixels(held, {0, 0, 31, 29}));
}

TEST(ResizedTest, AnImageOfTheSizeIsOnlyMoved) {
    Random random;
    const Source source = RandomSource(random);
    const std::vector<float> pixels = Pixels(source.image, source.region);
    const Region moved = {0, 0, source.region.width, source.region.height};
    for (const ResizeMode mode : kResizeModes) {
        EXPECT_EQ(Pixels(MakeResizedImage(source.image, moved.width, moved.height, mode), moved), pixels);
    }
}

TEST(ResizedTest, FillingASizeWithOneEqualSideCopiesTheMiddle) {
    const Source source = SourceOf({3, -4, 1, 5}, {1, 0, 0, 1, 2, 0, 0, 1, 3, 0, 0, 1, 4, 0, 0, 1, 5, 0, 0, 1});
    const ImageRef middle = MakeResizedImage(source.image, 1, 2, ResizeMode::kFill);
    EXPECT_EQ(Pixels(middle, {0, 0, 1, 2}), (std::vector<float>{3, 0, 0, 1, 4, 0, 0, 1}));
}

TEST(ResizedTest, FittingKeepsProportionsAndAtLeastOnePixel) {
    const ImageRef picture = OpaquePicture(400, 3);
    const auto fitted = [&](std::int64_t width, std::int64_t height) {
        return MakeResizedImage(picture, width, height, ResizeMode::kFit)->GetExtent();
    };
    EXPECT_EQ(fitted(200, 200), (Extent{0, 0, 200, 2}));
    EXPECT_EQ(fitted(20, 1000), (Extent{0, 0, 20, 1}));
    EXPECT_EQ(fitted(1000, 6), (Extent{0, 0, 800, 6}));
}

TEST(ResizedTest, ImagesWithoutFiniteExtentGiveNull) {
    const ImageRef board = Generated("CICheckerboardGenerator", {{"inputWidth", {8}}});
    const ImageRef half = MakeCroppedImage(board, {0, 0, HUGE_VAL, 5});
    for (const ImageRef& image : {board, half, MakeCroppedImage(board, {})}) {
        for (const ResizeMode mode : kResizeModes) EXPECT_EQ(MakeResizedImage(image, 4, 4, mode), nullptr);
    }
}

// A picture in memory that can be "decoded" at a half, as the means of its pixels.
struct Scaled {
    std::vector<std::uint8_t> bytes;
    std::size_t width, height, next = 0, rowsRead = 0;

    Scaled(std::size_t pixelsAcross, std::size_t pixelsUp, auto&& value) : width(pixelsAcross), height(pixelsUp) {
        for (std::size_t y = 0; y < height; ++y) {
            for (std::size_t x = 0; x < width; ++x) {
                for (int channel = 0; channel < 4; ++channel) bytes.push_back(channel == 3 ? 255 : value(x, y));
            }
        }
    }

    RowReader Reader() {
        return {this,
                [](void* object, void* rows, std::size_t count) -> const char* {
                    auto* self = static_cast<Scaled*>(object);
                    std::memcpy(rows, self->bytes.data() + self->next * self->width * 4, count * self->width * 4);
                    self->next += count;
                    self->rowsRead += count;
                    return nullptr;
                },
                [](void* object) { static_cast<Scaled*>(object)->next = 0; }, [](void*) {}};
    }
};

// Resizes a picture of 401 x 203 pixels whose half may be decoded.
std::vector<float> ResizedOf(Scaled& whole, Scaled* half, std::int64_t width, std::int64_t height) {
    BitmapSource source;
    source.width = 401;
    source.height = 203;
    source.bytesPerRow = 401 * 4;
    RowReaders readers = {whole.Reader()};
    if (half != nullptr) readers[1] = half->Reader();
    ImageHandle* image = MakeStreamed(source, {}, readers);
    const ImageRef resized = MakeResizedImage(*image, width, height, ResizeMode::kStretch);
    DisposeImage(image);
    return Pixels(resized, {0, 0, width, height});
}

TEST(ResizedTest, ShrinksADecodedHalfWhereTwiceThePixelsRemain) {
    const auto ramp = [](std::size_t x, std::size_t y) { return static_cast<std::uint8_t>(40 + x / 4 + y / 2); };
    for (const auto& [width, height, isHalf] : {std::tuple(100, 50, true), std::tuple(101, 50, false)}) {
        Scaled whole(401, 203, ramp), alone(401, 203, ramp);
        Scaled half(201, 102, [&](std::size_t x, std::size_t y) { return ramp(2 * x, 2 * y); });
        const std::vector<float> expected = ResizedOf(alone, nullptr, width, height);
        const std::vector<float> pixels = ResizedOf(whole, &half, width, height);
        EXPECT_EQ(half.rowsRead, isHalf ? 102u : 0u);
        EXPECT_EQ(pixels != expected, isHalf);
        for (std::size_t index = 0; index < pixels.size(); ++index) {
            ASSERT_NEAR(pixels[index], expected[index], isHalf ? 0.006 : 0) << index;
        }
    }
}

TEST(ResizedTest, DoesNotShrinkADecodedHalfThatIsTooDark) {
    const auto board = [](std::size_t x, std::size_t y) { return static_cast<std::uint8_t>((x + y) % 2 * 255); };
    Scaled whole(401, 203, board), alone(401, 203, board);
    Scaled half(201, 102, [](std::size_t, std::size_t) { return std::uint8_t{128}; });
    EXPECT_EQ(ResizedOf(whole, &half, 100, 50), ResizedOf(alone, nullptr, 100, 50));
}

}  // namespace
