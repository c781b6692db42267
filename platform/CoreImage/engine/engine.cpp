// engine.cpp - the door: catches what the engine throws, and counts the depth of what is made.

#include "engine/engine.h"

#include <cmath>
#include <optional>
#include <utility>

#include "core/color_matching.h"
#include "core/renderer.h"
#include "generator/generator.h"
#include "geometry/geometry.h"
#include "sampling/affine.h"

namespace core_image {
namespace {

// Whole numbers beyond this are not all doubles.
constexpr double kFarthestPixel = 4503599627370496.0;

// Runs a function that makes an image and gives out a handle of it.
template <typename Make>
ImageHandle* Handle(Make&& make) noexcept {
    try {
        ImageRef image = make();
        if (image == nullptr) return nullptr;
        if (image->GetDepth().levels > kDeepestImage || image->GetDepth().images > kMostImages) return nullptr;
        return new ImageRef(std::move(image));
    } catch (const std::exception&) {
        return nullptr;
    }
}

}  // namespace

ImageHandle* MakeBitmap(const BitmapSource& source, const Profile& profile, PixelOwner owner) noexcept {
    return Handle([&] {
        // The owner is released even when making its shared pointer fails.
        std::shared_ptr<const void> shared(owner.object, owner.release);
        if (profile.bytes == nullptr) return MakeBitmapImage(source, std::move(shared));
        Coding coding = CodingOfProfile(profile, MatchingDirection::kToLight);
        BitmapSource coded = source;
        coded.transfer = coding.conversion == nullptr ? coding.transfer : Transfer::kLinear;
        ImageRef image = MakeBitmapImage(coded, std::move(shared));
        if (coding.conversion == nullptr) return image;
        return MakeMatchedImage(std::move(image), std::move(coding.conversion));
    });
}

ImageHandle* MakeConstant(const double* components) noexcept {
    return Handle([&] { return MakeConstantImage(PixelOfColor(components)); });
}

ImageHandle* MakeCropped(ImageHandle* image, const Extent& extent) noexcept {
    return Handle([&] { return MakeCroppedImage(*image, extent); });
}

ImageHandle* MakeTransformed(ImageHandle* image, const double* numbers) noexcept {
    return Handle([&] { return MakeAffineImage(*image, AffineOf(numbers)); });
}

ImageHandle* MakeOutput(FilterFunction function, const InputValue* values, std::size_t count) noexcept {
    return Handle([&] { return function(Inputs(values, count)); });
}

void DisposeImage(ImageHandle* image) noexcept { delete image; }

Extent ExtentOfImage(ImageHandle* image) noexcept { return (*image)->GetExtent(); }

bool RenderImage(ImageHandle* image, const Region& region, const BitmapDestination& destination,
                 const Output& output) noexcept {
    if (image == nullptr) return false;
    try {
        ImageRef shown = *image;
        BitmapDestination coded = destination;
        std::optional<WithoutMatching> off;
        if (!output.isMatching) {
            off.emplace();
            coded.transfer = Transfer::kLinear;
        } else if (output.profile.bytes != nullptr) {
            Coding coding = CodingOfProfile(output.profile, MatchingDirection::kFromLight);
            coded.transfer = coding.conversion == nullptr ? coding.transfer : Transfer::kLinear;
            if (coding.conversion != nullptr) shown = MakeConvertedImage(shown, std::move(coding.conversion));
        }
        Render(shown, region, coded);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool RegionOfExtent(const Extent& extent, Region* region) noexcept {
    if (extent.IsEmpty()) return false;
    for (double edge : {extent.left, extent.bottom, extent.right, extent.top}) {
        if (!(std::abs(edge) < kFarthestPixel)) return false;
    }
    *region = {static_cast<std::int64_t>(extent.left), static_cast<std::int64_t>(extent.bottom),
               static_cast<std::int64_t>(extent.right - extent.left),
               static_cast<std::int64_t>(extent.top - extent.bottom)};
    return true;
}

}  // namespace core_image
