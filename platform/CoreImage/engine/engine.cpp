// engine.cpp - the door: catches the exceptions of the engine and says what they mean.

#include "engine/engine.h"

#include <cmath>
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
        return new ImageRef(std::move(image));
    } catch (const std::exception&) {
        return nullptr;
    }
}

// Says that a rendering needs more memory than there is.
void SayShortage(const Region& region, const MemoryShortage& shortage, Fault* fault) {
    constexpr double kMegabyte = 1 << 20;
    const int written = std::snprintf(fault->text, sizeof fault->text,
                                      "%lld x %lld pixels: rendering needs more memory than there is, at least %.0f MB",
                                      static_cast<long long>(region.width), static_cast<long long>(region.height),
                                      std::ceil(static_cast<double>(shortage.Needed()) / kMegabyte));
    if (shortage.Limit() == 0) return;
    std::snprintf(fault->text + written, sizeof fault->text - static_cast<std::size_t>(written),
                  "; the limit is %.0f MB", std::floor(static_cast<double>(shortage.Limit()) / kMegabyte));
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

bool RenderImage(ImageHandle* image, const Region& region, const BitmapDestination& destination, const Output& output,
                 Fault* fault) noexcept {
    if (image == nullptr) {
        std::snprintf(fault->text, sizeof fault->text, "there is no image to render");
        return false;
    }
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
        Render(shown, region, coded, Cut{}, *output.budget);
        return true;
    } catch (const MemoryShortage& shortage) {
        SayShortage(region, shortage, fault);
    } catch (const std::exception& error) {
        std::snprintf(fault->text, sizeof fault->text, "rendering failed: %s", error.what());
    }
    return false;
}

}  // namespace core_image
