// color_matching.cpp - conversions as point functions, and the switch.

#include "core/color_matching.h"

#include <cmath>
#include <utility>

#include "core/point.h"
#include "core/transfer.h"

namespace core_image {
namespace {

thread_local bool isSwitchedOff = false;

// Converts runs, and encodes the result with the sRGB curve if asked to.
class Converting : public PointFunction {
  public:
    Converting(std::shared_ptr<const ColorConversion> conversion, bool encodes)
        : conversion_(std::move(conversion)), encodes_(encodes) {}

    void ApplyToRun(float* blocks, std::size_t count) const override {
        float pixels[kRunFloats];
        FromBlocks(blocks, count, pixels);
        float* const end = pixels + count * kFloatsPerPixel;
        for (float* pixel = pixels; pixel != end; pixel += kFloatsPerPixel) Scale(pixel, Inverse(pixel[3]));
        conversion_->Convert(pixels, count);
        // Conversions of transparent black are discarded: it stays transparent black.
        for (float* pixel = pixels; pixel != end; pixel += kFloatsPerPixel) Scale(pixel, pixel[3]);
        ToBlocks(pixels, count, blocks);
        if (encodes_) EncodeRun(blocks, count);
    }

  private:
    static float Inverse(float alpha) { return alpha == 0 || !std::isfinite(alpha) ? 0 : 1 / alpha; }

    static void Scale(float* pixel, float factor) {
        for (int channel = 0; channel < 3; ++channel) pixel[channel] *= factor;
    }

    std::shared_ptr<const ColorConversion> conversion_;
    bool encodes_;
};

// An image that renders its numbers unchanged, or converted, depending on the switch.
class MatchedImage : public Image {
  public:
    MatchedImage(ImageRef numbers, const std::shared_ptr<const ColorConversion>& toLight, bool isEncoded)
        : MatchedImage(MakePointImage(numbers, std::make_unique<Converting>(toLight, isEncoded)), numbers) {
        // Encoded with the sRGB curve, because pictures are decoded by that curve.
        if (!isEncoded) SetEncoded(std::make_shared<MatchedImage>(numbers_, toLight, /*isEncoded=*/true));
    }

    const Image* Shown() const override { return (IsMatching() ? seen_ : numbers_).Get(); }
    std::unique_ptr<const Stage> MakeStage(const Region&) const override { return nullptr; }

  private:
    MatchedImage(ImageRef seen, ImageRef numbers)
        : Image(seen->GetExtent(), seen->GetDepth()), numbers_(std::move(numbers)), seen_(std::move(seen)) {}

    ImageRef numbers_;
    ImageRef seen_;
};

}  // namespace

ImageRef MakeMatchedImage(ImageRef numbers, std::shared_ptr<const ColorConversion> toLight) {
    return std::make_shared<MatchedImage>(std::move(numbers), toLight, /*isEncoded=*/false);
}

ImageRef MakeConvertedImage(ImageRef image, std::shared_ptr<const ColorConversion> conversion) {
    return MakePointImage(std::move(image), std::make_unique<Converting>(std::move(conversion), /*encodes=*/false));
}

WithoutMatching::WithoutMatching() : before_(std::exchange(isSwitchedOff, true)) {}

WithoutMatching::~WithoutMatching() { isSwitchedOff = before_; }

bool IsMatching() { return !isSwitchedOff; }

}  // namespace core_image
