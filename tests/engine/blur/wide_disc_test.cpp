// wide_disc_test.cpp - compares wide discs, which are transformed block by block, with sums, and tests the transforms
// and the grid of blocks alone.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <numbers>
#include <set>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "blur/disc.h"
#include "blur/fourier_columns.h"
#include "blur/grid.h"
#include "core/cropped.h"
#include "core/render_session.h"
#include "core/window.h"
#include "generator/generator.h"
#include "support/counting_image.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

// A picture of several blocks.
constexpr Region kPicture = {0, 0, 900, 700};

Source PictureOf(const std::function<float(std::size_t pixel, std::size_t channel)>& number) {
    std::vector<float> floats(static_cast<std::size_t>(kPicture.width * kPicture.height) * 4);
    for (std::size_t i = 0; i < floats.size(); ++i) floats[i] = number(i / 4, i % 4);
    return SourceOf(kPicture, floats);
}

Source Picture() {
    return PictureOf([random = Random()](std::size_t, std::size_t channel) mutable {
        return static_cast<float>(channel == kAlpha ? 1 : random.Between(-0.5, 2));
    });
}

// The means over a disc in a region, as sums.
std::vector<float> Summed(const ImageRef& image, double radius, const Region& region) {
    const Disc disc(radius);
    const Region read = region.GrownBy(disc.Reach());
    const Window window(Prepare(image, read), read);
    Planes blurred = MakePlanes(region);
    disc.Blur(PlanesOf(window.GetView()), /*isOpaque=*/false, blurred);
    std::vector<float> pixels(static_cast<std::size_t>(region.width * region.height) * 4);
    for (std::int64_t y = region.y; y < region.Top(); ++y) {
        RowFromPlanes(RowsOf(blurred, y), static_cast<std::size_t>(region.width),
                      &pixels[static_cast<std::size_t>((region.Top() - 1 - y) * region.width) * 4]);
    }
    return pixels;
}

void ExpectNear(const std::vector<float>& pixels, const std::vector<float>& expected, float tolerance) {
    ASSERT_EQ(pixels.size(), expected.size());
    for (std::size_t i = 0; i < pixels.size(); ++i) ASSERT_NEAR(pixels[i], expected[i], tolerance) << i;
}

TEST(FourierColumnsTest, MatchesTheDefinition) {
    Random random;
    for (const std::size_t rows : {4u, 8u, 16u, 32u, 128u, 512u, 1024u, 2048u}) {
        const Strips strip(static_cast<std::int64_t>(rows), 1);
        std::vector<std::complex<double>> numbers;  // of the sixth column
        for (std::size_t i = 0; i < rows * kFourierRowFloats; ++i) {
            strip.Row(0, 0)[i] = static_cast<float>(random.Between(-1, 1));
        }
        const auto number = [&](std::size_t row) {
            const float* const at = strip.Row(0, static_cast<std::int64_t>(row)) + 5;
            return std::complex<double>(at[0], at[kFourierColumns]);
        };
        for (std::size_t row = 0; row < rows; ++row) numbers.push_back(number(row));
        const std::vector<Twiddles> twiddles = TwiddlesFor(rows);
        TransformColumns(strip.Row(0, 0), rows, twiddles.data());
        // A row's frequency has its digits in the reverse order: base 4, the last one base 2 if need be.
        for (std::size_t row = 0; row < rows; ++row) {
            std::size_t frequency = 0, weight = 1;
            for (std::size_t size = rows, rest = row; size > 1; size /= 4) {
                const std::size_t part = std::max<std::size_t>(size / 4, 1);
                frequency += rest / part * weight;
                rest %= part;
                weight *= 4;
            }
            std::complex<double> expected = 0;
            for (std::size_t i = 0; i < rows; ++i) {
                const double angle =
                    -2 * std::numbers::pi * static_cast<double>(i * frequency % rows) / static_cast<double>(rows);
                expected += numbers[i] * std::polar(1.0, angle);
            }
            ASSERT_NEAR(std::abs(number(row) - expected), 0, 1e-6 * static_cast<double>(rows)) << row << " of " << rows;
        }
        TransformColumnsBack(strip.Row(0, 0), rows, twiddles.data());
        for (std::size_t row = 0; row < rows; ++row) {
            const double scale = 1 / static_cast<double>(rows);
            ASSERT_NEAR(std::abs(number(row) * scale - numbers[row]), 0, 1e-6) << row << " of " << rows;
        }
    }
}

TEST(WideDiscTest, MatchesSums) {
    const Source picture = Picture();
    for (const double radius : {32.0, 37.3, 64.0, 64.6, 100.0}) {
        const ImageRef image = MakeDiscBlurImage(picture.image, radius);
        for (const Region& region :
             {Region{-30, -20, 100, 80}, Region{380, 330, 140, 60}, Region{820, 640, 150, 120}}) {
            ExpectNear(Pixels(image, region), Summed(picture.image, radius, region), 2e-6f);
        }
    }
}

// What lies in a cell of the grid must not depend on the tile, nor on the region that is rendered.
TEST(WideDiscTest, DoesNotDependOnTilesAndBlocks) {
    const ImageRef image = MakeDiscBlurImage(Picture().image, 40);
    const Region region = {-41, -17, 930, 600}, part = {300, 111, 333, 222};
    const std::vector<float> whole = Pixels(image, region, {4096, 4096, 4096});
    for (const Cut& cut : {Cut{}, Cut{4096, 301, 7}, Cut{300, 64, 64}}) EXPECT_EQ(Pixels(image, region, cut), whole);
    const std::vector<float> pixels = Pixels(image, part);
    for (std::int64_t row = 0; row < part.height; ++row) {
        const auto start =
            static_cast<std::size_t>((region.Top() - part.Top() + row) * region.width + part.x - region.x) * 4;
        const auto width = static_cast<std::size_t>(part.width) * 4;
        for (std::size_t i = 0; i < width; ++i) {
            ASSERT_EQ(pixels[static_cast<std::size_t>(row) * width + i], whole[start + i]) << row << ", " << i;
        }
    }
}

std::vector<float> Rendered(const ImageRef& image, const Region& region, MemoryBudget& budget,
                            RenderSession* session = nullptr) {
    std::vector<float> pixels(static_cast<std::size_t>(region.width * region.height) * 4);
    BitmapDestination destination;
    destination.pixels = pixels.data();
    destination.bytesPerRow = static_cast<std::ptrdiff_t>(region.width) * 16;
    destination.format = PixelFormat::kFloats;
    destination.transfer = Transfer::kLinear;
    Render(image, region, destination, {}, budget, session);
    return pixels;
}

TEST(WideDiscTest, SmallBudgetGivesTheSamePixels) {
    const ImageRef image = MakeDiscBlurImage(Picture().image, 70);
    const Region region = {-71, -71, 1042, 842};
    MemoryBudget ample(std::uint64_t{1} << 30), small(10 << 20);
    EXPECT_EQ(Rendered(image, region, small), Rendered(image, region, ample));
    EXPECT_EQ(small.Used(), 0u);
}

// Whatever is not near the light has its own precision: rounding relative to the light would hide it.
TEST(WideDiscTest, BrightLightsAndNumbersThatAreNoneChangeOnlyWhatTheyReach) {
    constexpr double kRadius = 34;
    constexpr std::size_t kLight = 350 * 900 + 450;  // in the middle
    for (const float light : {1e6f, std::numeric_limits<float>::infinity(), std::nanf("")}) {
        const Source picture = PictureOf([=](std::size_t pixel, std::size_t channel) {
            if (pixel == kLight) return channel == kAlpha ? 1 : light;
            return channel == kAlpha ? 1.0f : 1e-4f * static_cast<float>(pixel * 37 % 101);
        });
        const ImageRef image = MakeDiscBlurImage(picture.image, kRadius);
        // Beside the light, and beyond its reach.
        const Region near = {440, 340, 30, 20}, far = {500, 340, 60, 40};
        const std::vector<float> lit = Pixels(image, near), dark = Pixels(image, far);
        EXPECT_EQ(std::isfinite(lit[0]), std::isfinite(light));
        if (std::isfinite(light)) ExpectNear(lit, Summed(picture.image, kRadius, near), 1e-3f);
        ExpectNear(dark, Summed(picture.image, kRadius, far), 1e-8f);
    }
}

TEST(WideDiscTest, OpaqueStaysOpaqueAndTransparentStaysTransparent) {
    const Source square = SourceOf({0, 0, 40, 40}, std::vector<float>(40 * 40 * 4, 1.0f));
    const ImageRef blurred = MakeDiscBlurImage(square.image, 35);
    // The lower left corner lies beyond the disc's reach.
    for (const float number : Pixels(blurred, {-37, -37, 8, 8})) EXPECT_EQ(number, 0);

    const ImageRef clamped = Output("CIAffineClamp", Picture().image, {{"inputTransform", {1, 0, 0, 1, 0, 0}}});
    const std::vector<float> pixels = Pixels(MakeDiscBlurImage(clamped, 35), {-300, -300, 700, 600});
    for (std::size_t i = kAlpha; i < pixels.size(); i += 4) ASSERT_EQ(pixels[i], 1) << i;
}

TEST(WideDiscTest, OpaqueBandEndsSoftly) {
    const ImageRef band = MakeCroppedImage(MakeConstantImage({1, 1, 1, 1}), {-HUGE_VAL, 0, HUGE_VAL, 300});
    const ImageRef blurred = MakeDiscBlurImage(band, 35);
    EXPECT_NEAR(Pixels(blurred, {0, 0, 1, 1})[kAlpha], 0.5, 0.02);
    EXPECT_EQ(Pixels(blurred, {0, 150, 1, 1})[kAlpha], 1);
}

// A file is written by strips, each of which needs the same cells as the one before.
TEST(WideDiscTest, StripsOfARenderingShareTheirCells) {
    const auto blurs = [](std::int64_t rows) {
        const auto count = std::make_shared<Count>();
        const ImageRef image = MakeDiscBlurImage(Counted(Picture().image, count), 36);
        RenderSession session;
        std::vector<float> pixels;
        for (std::int64_t top = kPicture.height; top > 0; top -= rows) {
            const Region strip = {0, std::max<std::int64_t>(top - rows, 0), kPicture.width, std::min(rows, top)};
            const std::vector<float> part = Rendered(image, strip, MemoryBudget::Default(), &session);
            pixels.insert(pixels.end(), part.begin(), part.end());
        }
        return std::pair(count->pixels.load(), pixels);
    };
    EXPECT_EQ(blurs(100), blurs(kPicture.height));
}

// A block of 4096 rows would hold all of a large picture.
TEST(WideDiscTest, LargePicturesAreRenderedInLowBlocks) {
    const auto count = std::make_shared<Count>();
    const ImageRef blurred = MakeDiscBlurImage(Counted(MakeConstantImage({1, 1, 1, 1}), count), 40);
    (void)Pixels(MakeCroppedImage(blurred, {0, 0, 4096, 1100}), {0, 0, 4096, 1100});
    EXPECT_EQ(count->stages, 3) << "for each block of 512 rows";
}

// Renders cells with their lower left corner as color, and notes them, in any order.
struct Cells {
    Grid grid;
    std::mutex mutex;
    std::set<std::pair<std::int64_t, std::int64_t>> corners;
    std::size_t rendered = 0;

    explicit Cells(const Grid& divided) : grid(divided) {}

    std::unique_ptr<const Stage> StageFor(const Region& region) {
        return MakeGridStage(nullptr, grid, region, [this](const Region& cell, const Tile& part) {
            for (std::int64_t y = part.region.y; y < part.region.Top(); ++y) {
                for (std::size_t i = 0; i < part.Width() * 4; ++i) {
                    part.Row(y)[i] = static_cast<float>(i % 2 == 0 ? cell.x : cell.y);
                }
            }
            const std::lock_guard<std::mutex> lock(mutex);
            corners.insert({cell.x, cell.y});
            ++rendered;
        });
    }

    // Expects the corner of its cell in each pixel of a region.
    void ExpectIn(const Stage& stage, const Region& region) const {
        const PixelBlock block(region);
        stage.Render(block.GetTile());
        for (std::int64_t y = region.y; y < region.Top(); ++y) {
            for (std::int64_t x = region.x; x < region.Right(); ++x) {
                const float* const pixel = block.GetView().PixelAt(x, y);
                const auto left = static_cast<std::int64_t>(pixel[0]), bottom = static_cast<std::int64_t>(pixel[1]);
                ASSERT_TRUE((x - left) / grid.width == 0 && (left - grid.image.x) % grid.width == 0) << x << ", " << y;
                ASSERT_TRUE((y - bottom) / grid.height == 0 && (bottom - grid.image.y) % grid.height == 0)
                    << x << ", " << y;
            }
        }
    }
};

using Corners = std::set<std::pair<std::int64_t, std::int64_t>>;

TEST(GridTest, EachCellOfARegionIsRenderedOnce) {
    Cells cells({{-7, -5, 100, 90}, 20, 30});
    const Region region = {14, 16, 20, 30};
    EXPECT_EQ(cells.grid.Around(region), (Region{13, -5, 40, 60}));
    const auto stage = cells.StageFor(region);
    cells.ExpectIn(*stage, region);
    EXPECT_EQ(cells.corners, (Corners{{13, 25}, {33, 25}, {13, -5}, {33, -5}}));
    EXPECT_EQ(cells.rendered, 4u);
}

TEST(GridTest, CellsEndWithTheImage) {
    const Grid grid = {{-7, -5, 100, 90}, 64, 64};
    EXPECT_EQ(grid.Around({50, 50, 10, 10}), (Region{-7, -5, 100, 90}));
    EXPECT_EQ(grid.Around({60, 62, 10, 10}), (Region{57, 59, 36, 26}));
}

// Rows of a file need the cells of the rows above them; the last that need a cell let go of it.
TEST(GridTest, CellsAreKeptUntilTheirLowerRightCornerWasShown) {
    RenderSession session;
    const RenderSession::Scope scope(session);
    Cells cells({{0, 0, 100, 60}, 50, 30});
    const auto show = [&](const Region& region) {
        const std::size_t before = cells.rendered;
        const auto stage = cells.StageFor(region);
        cells.ExpectIn(*stage, region);
        return cells.rendered - before;
    };
    EXPECT_EQ(show({0, 40, 100, 20}), 2u);
    EXPECT_EQ(show({0, 35, 100, 5}), 0u);
    EXPECT_EQ(show({0, 25, 100, 10}), 2u) << "the upper cells are kept, the lower ones new";
    EXPECT_EQ(show({0, 30, 100, 10}), 2u) << "the upper cells are gone";
    EXPECT_EQ(show({0, 0, 70, 10}), 0u);
    EXPECT_EQ(show({70, 0, 30, 10}), 0u) << "of the right one more was to be shown";
    EXPECT_EQ(show({50, 10, 50, 10}), 1u);
    session.FreeMemory();
    EXPECT_EQ(show({0, 20, 100, 5}), 2u) << "all cells are gone";
}

TEST(GridTest, CellsAreKeptWhileHalfOfTheBudgetIsFree) {
    MemoryBudget budget(std::uint64_t{20} << 20);
    const BudgetScope scope(budget);
    RenderSession session;
    const RenderSession::Scope sessionScope(session);
    // Of a little more than two megabytes each.
    Cells cells({{0, 0, 8 * 512, 256}, 512, 256});
    (void)cells.StageFor({0, 128, 8 * 512, 1});
    EXPECT_EQ(cells.rendered, 8u);
    (void)cells.StageFor({0, 127, 8 * 512, 1});
    EXPECT_EQ(cells.rendered, 11u) << "five were kept";
}

// Nobody could hold such a region. It is asked for where an image is shrunk a lot.
TEST(GridTest, TooLargeARegionIsRenderedTileByTile) {
    Cells cells({{0, 0, 1 << 20, 1 << 20}, 768, 768});
    const auto stage = cells.StageFor({0, 0, 1 << 20, 1 << 20});
    EXPECT_EQ(cells.rendered, 0u);
    cells.ExpectIn(*stage, {760, 1530, 20, 10});
    EXPECT_EQ(cells.corners, (Corners{{0, 1536}, {768, 1536}, {0, 768}, {768, 768}}));
    EXPECT_EQ(cells.rendered, 4u);
}

}  // namespace
