// engine.cpp - the door: catches the exceptions of the engine and limits the depth of images.

#include "engine/engine.h"

#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "compositing/compositing.h"
#include "core/color_matching.h"
#include "core/cropped.h"
#include "core/renderer.h"
#include "generator/generator.h"
#include "sampling/affine.h"

namespace core_image {
namespace {

// Runs a function that makes an image, and returns a handle of the image.
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

ImageHandle* MakeSourceOver(ImageHandle* source, ImageHandle* background) noexcept {
    return Handle([&] {
        return MakeSourceOverImage(source == nullptr ? nullptr : *source,
                                   background == nullptr ? nullptr : *background);
    });
}

ImageHandle* MakeOutput(FilterFunction function, const InputValue* values, std::size_t count, Fault* fault) noexcept {
    return Handle([&]() -> ImageRef {
        try {
            return function(Inputs(values, count));
        } catch (const UndeclaredKey& error) {
            const std::string_view name = NameOfFilter(function);
            std::snprintf(fault->text, sizeof fault->text,
                          "%.*s: reads '%s', which is not one of its keys; no image was made",
                          static_cast<int>(name.size()), name.data(), error.what());
            return nullptr;
        }
    });
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
        const auto working = [&](MatchingDirection direction) {
            if (output.workingProfile.bytes == nullptr) return Coding{output.workingTransfer, nullptr};
            return CodingOfProfile(output.workingProfile, direction);
        };
        Coding fromLight = working(MatchingDirection::kFromLight);
        if (output.isMatching && (fromLight.conversion != nullptr || fromLight.transfer != Transfer::kLinear)) {
            off.emplace(std::move(fromLight));
            shown = MakeDecodedImage(shown, working(MatchingDirection::kToLight));
        }
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

}  // namespace core_image
