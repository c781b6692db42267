// color_matching.cpp - conversions as point functions, and the switch.

#include "core/color_matching.h"

#include <cmath>
#include <utility>

#include "core/point.h"
#include "core/transfer.h"

namespace core_image {
namespace {

thread_local bool isSwitchedOff = false;
thread_local std::optional<Coding> workingCoding;

// The sRGB curve, in one direction.
class Curve : public PointFunction {
  public:
    explicit Curve(MatchingDirection direction) : direction_(direction) {}

    void ApplyToRun(float* blocks, std::size_t count) const override {
        (direction_ == MatchingDirection::kToLight ? DecodeRun : EncodeRun)(blocks, count);
    }

  private:
    MatchingDirection direction_;
};

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
    MatchedImage(const ImageRef& numbers, const std::shared_ptr<const ColorConversion>& toLight, bool isEncoded)
        : MatchedImage(MakePointImage(numbers, std::make_unique<Converting>(toLight, isEncoded)), numbers, toLight) {
        // Encoded with the sRGB curve, because pictures are decoded by that curve.
        if (!isEncoded) SetEncoded(std::make_shared<MatchedImage>(numbers_, toLight, /*isEncoded=*/true));
    }

    const Image* Shown() const override {
        if (WorkingCoding()) return nullptr;
        return (IsMatching() ? seen_ : numbers_).Get();
    }

    // Called only with a working coding. The input is not named as a need, because it is prepared without one.
    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        const Prepared numbers = Numbers(region);
        Prepared light(GetExtent(),
                       MakePointStage(numbers, region, std::make_unique<Converting>(toLight_, /*encodes=*/false)),
                       numbers.Levels() + 1);
        return MakeWorkingStage(std::move(light), region);
    }

    ReducedImage Reduced(double shrinks) const override {
        ReducedImage reduced = numbers_->Reduced(shrinks);
        if (reduced.image != nullptr) reduced.image = MakeMatchedImage(reduced.image, toLight_);
        return reduced;
    }

  private:
    MatchedImage(ImageRef seen, ImageRef numbers, std::shared_ptr<const ColorConversion> toLight)
        : Image(seen->GetExtent(), seen->GetDepth()),
          numbers_(std::move(numbers)),
          toLight_(std::move(toLight)),
          seen_(std::move(seen)) {}

    Prepared Numbers(const Region& region) const {
        const WithoutMatching plain;
        return Prepare(numbers_, region);
    }

    ImageRef numbers_;
    std::shared_ptr<const ColorConversion> toLight_;
    ImageRef seen_;
};

}  // namespace

ImageRef MakeMatchedImage(ImageRef numbers, std::shared_ptr<const ColorConversion> toLight) {
    return std::make_shared<MatchedImage>(std::move(numbers), toLight, /*isEncoded=*/false);
}

ImageRef MakeConvertedImage(ImageRef image, std::shared_ptr<const ColorConversion> conversion) {
    return MakePointImage(std::move(image), std::make_unique<Converting>(std::move(conversion), /*encodes=*/false));
}

ImageRef MakeDecodedImage(ImageRef numbers, const Coding& toLight) {
    if (toLight.conversion != nullptr) return MakeConvertedImage(std::move(numbers), toLight.conversion);
    if (toLight.transfer == Transfer::kLinear) return numbers;
    return MakePointImage(std::move(numbers), std::make_unique<Curve>(MatchingDirection::kToLight));
}

WithoutMatching::WithoutMatching(std::optional<Coding> fromLight)
    : before_(std::exchange(isSwitchedOff, true)), codingBefore_(std::exchange(workingCoding, std::move(fromLight))) {}

WithoutMatching::~WithoutMatching() {
    isSwitchedOff = before_;
    workingCoding = std::move(codingBefore_);
}

bool IsMatching() { return !isSwitchedOff; }

const std::optional<Coding>& WorkingCoding() { return workingCoding; }

std::unique_ptr<const Stage> MakeWorkingStage(Prepared light, const Region& region) {
    if (workingCoding->conversion == nullptr) {
        return MakePointStage(std::move(light), region, std::make_unique<Curve>(MatchingDirection::kFromLight));
    }
    return MakePointStage(std::move(light), region,
                          std::make_unique<Converting>(workingCoding->conversion, /*encodes=*/false));
}

}  // namespace core_image
