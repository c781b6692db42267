// warp_test.cpp - tests how many of its input's pixels a warp has rendered.

#include "sampling/warp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "generator/generator.h"
#include "support/counting_image.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

// Takes each pixel from the place that a function gives for its center.
class FunctionWarp : public Warp {
  public:
    using Function = std::function<void(double* x, double* y)>;

    explicit FunctionWarp(Function function) : function_(std::move(function)) {}

    void Places(const PlaceRow& row, double* x, double* y) const override {
        for (std::size_t index = 0; index < row.count; ++index) {
            x[index] = static_cast<double>(row.x + static_cast<std::int64_t>(index)) + 0.5;
            y[index] = static_cast<double>(row.y) + 0.5;
            function_(&x[index], &y[index]);
        }
    }
    Extent Source(const Extent&) const override { return Extent::Of({0, 0, 4096, 4096}); }

  private:
    Function function_;
};

// How many pixels of an image without edges nearby are rendered for a tile of 64 x 64 under a warp.
std::int64_t PixelsRendered(FunctionWarp::Function function) {
    const auto count = std::make_shared<Count>();
    const ImageRef image = Counted(MakeConstantImage({1, 1, 1, 1}), count);
    const Region tile = {16, 16, 64, 64};
    const ImageRef warped =
        MakeWarpedImage(image, std::make_shared<FunctionWarp>(std::move(function)), Extent::Of(tile));
    Pixels(warped, tile, {4096, 64, 64});
    return count->pixels;
}

// Interpolation takes one more column and row than there are places.
TEST(WarpTest, PlacesInBarsNeedOnlyThePixelsOfTheBars) {
    EXPECT_EQ(PixelsRendered([](double* x, double* y) { *y += 300 * std::floor(*x / 16); }), 4 * (16 + 1) * (64 + 1));
    EXPECT_EQ(PixelsRendered([](double* x, double* y) { *x += 300 * std::floor(*y / 16); }), 4 * (64 + 1) * (16 + 1));
}

TEST(WarpTest, AShrunkInputIsReadAtOnce) {
    EXPECT_EQ(PixelsRendered([](double* x, double* y) { *x *= 3, *y *= 3; }), (3 * 63 + 2) * (3 * 63 + 2));
}

TEST(WarpTest, APlaceThatIsFarFromAllOthersNeedsNoPixelsBetween) {
    const std::int64_t pixels = PixelsRendered([](double* x, double* y) {
        if (*x < 17 && *y < 17) *y += 3000;
    });
    EXPECT_LT(pixels, 2 * 65 * 65);
}

}  // namespace
