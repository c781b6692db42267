// window_test.cpp - checks that pixels already in memory are read in place, and that this does not change results.

#include "core/window.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "core/buffered.h"
#include "sampling/repeat.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

// The same image, but its pixels are not held in memory and have to be rendered. It poses as a source, because a
// source is never held while it is rendered either.
class UnheldImage : public Image {
  public:
    explicit UnheldImage(ImageRef input) : Image(input->GetExtent(), /*depthBelow=*/{}), input_(std::move(input)) {}

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<UnheldStage>(Prepare(input_, region));
    }

  private:
    class UnheldStage : public Stage {
      public:
        explicit UnheldStage(Prepared input) : input_(std::move(input)) {}
        void Render(const Tile& tile) const override { input_.Render(tile); }

      private:
        Prepared input_;
    };

    ImageRef input_;
};

struct Case {
    const char* filter;
    std::vector<Value> values;
};

TEST(WindowTest, FiltersGiveTheSameResultForHeldAndRenderedPixels) {
    const ImageRef held = RandomImage(120, 90);
    const auto unheld = std::make_shared<UnheldImage>(held);
    const std::vector<double> weights(49, 0.03), rectangle = {3, 5, 100, 80};
    const std::vector<Case> cases = {{"CIGaussianBlur", {{"inputRadius", {2}}}},
                                     {"CIGaussianBlur", {{"inputRadius", {9}}}},
                                     {"CIBoxBlur", {{"inputRadius", {11}}}},
                                     {"CIBoxBlur", {{"inputRadius", {71}}}},
                                     {"CIDiscBlur", {{"inputRadius", {3}}}},
                                     {"CIDiscBlur", {{"inputRadius", {9}}}},
                                     {"CIConvolution3X3", {{"inputWeights", weights}}},
                                     {"CIConvolution7X7", {{"inputWeights", weights}, {"inputBias", {0.1}}}},
                                     {"CIConvolution9Vertical", {{"inputWeights", weights}}},
                                     {"CIAffineTransform", {{"inputTransform", {0.9, 0.3, -0.3, 0.9, 2.5, 7}}}},
                                     {"CIAreaAverage", {{"inputExtent", rectangle}}},
                                     {"CIAreaMaximumAlpha", {{"inputExtent", rectangle}}},
                                     {"CIAreaHistogram", {{"inputExtent", rectangle}, {"inputCount", {10}}}},
                                     {"CIColumnAverage", {{"inputExtent", rectangle}}}};
    constexpr Region kRegion = {-20, -10, 160, 120};
    constexpr Cut kCut = {4096, 32, 16};
    for (const Case& each : cases) {
        EXPECT_EQ(Pixels(Output(each.filter, held, each.values), kRegion, kCut),
                  Pixels(Output(each.filter, unheld, each.values), kRegion, kCut))
            << each.filter;
    }
}

// Each blend with an image of tiles is another pass over the tile; only the first one reads the held pixels.
TEST(WindowTest, HeldPixelsUnderSeveralPassesAreReadOnce) {
    const ImageRef picture = RandomImage(120, 90);
    const auto blended = [&](ImageRef image) {
        for (const std::size_t height : {80u, 85u}) {
            image = Output("CIDissolveTransition", image,
                           {{"inputTargetImage", {}, std::make_shared<UnheldImage>(RandomImage(120, height))},
                            {"inputTime", {0.25}}});
        }
        return Pixels(image, {10, 10, 100, 60}, {4096, 32, 16});
    };
    EXPECT_EQ(blended(MakeClampedImage(picture)), blended(picture));
}

TEST(WindowTest, HeldPixelsAreReadInPlaceWhenMovedCroppedOrClamped) {
    constexpr Region kMoved = {7, -3, 20, 10}, kInner = {9, 0, 5, 5};
    const Source source = SourceOf(kMoved, std::vector<float>(4 * 20 * 10, 0.5f));
    for (const ImageRef& image :
         {source.image, MakeCroppedImage(source.image, {8, -1, 20, 7}), MakeClampedImage(source.image)}) {
        for (const Prepared& prepared : {Prepare(image, kInner), Hold(Prepare(image, kInner), kInner)}) {
            const std::optional<View> view = prepared.Held(kInner);
            ASSERT_TRUE(view);
            EXPECT_EQ(view->region, kInner);
            EXPECT_EQ(Window(prepared, kInner).GetView().pixels, view->pixels);
        }
    }
    EXPECT_EQ(Prepare(source.image, kMoved).Held(kMoved.GrownBy(1)), std::nullopt) << "beyond the image";
    EXPECT_EQ(Prepare(std::make_shared<UnheldImage>(source.image), kInner).Held(kInner), std::nullopt);
}

TEST(WindowTest, OnlyAlignedLinearFloatBitmapsAreReadInPlace) {
    const auto pixels = std::make_shared<std::vector<float>>(100, 0.5f);
    BitmapSource bitmap;
    bitmap.pixels = pixels->data();
    bitmap.width = bitmap.height = 2;
    bitmap.bytesPerRow = 2 * 4 * sizeof(float);
    bitmap.format = PixelFormat::kFloats;
    bitmap.transfer = Transfer::kLinear;
    const auto isHeld = [&](const BitmapSource& source) {
        return Prepare(MakeBitmapImage(source, pixels), {0, 0, 2, 2}).Held({0, 0, 2, 2}).has_value();
    };
    EXPECT_TRUE(isHeld(bitmap));
    BitmapSource encoded = bitmap, bytes = bitmap, shifted = bitmap, ragged = bitmap;
    encoded.transfer = Transfer::kSRGB;
    bytes.format = PixelFormat::kBytes;
    shifted.pixels = reinterpret_cast<const char*>(pixels->data()) + 1;
    ragged.bytesPerRow += 2;
    for (const BitmapSource& source : {encoded, bytes, shifted, ragged}) EXPECT_FALSE(isHeld(source));
}

}  // namespace
