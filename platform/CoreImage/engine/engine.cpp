// engine.cpp - the door: catches the exceptions of the engine and says what they mean.

#include "engine/engine.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "compositing/compositing.h"
#include "core/color_matching.h"
#include "core/cropped.h"
#include "core/renderer.h"
#include "engine/failure.h"
#include "generator/generator.h"
#include "sampling/affine.h"

namespace core_image {
namespace {

// Notes the exception that is being handled as the reason of a failure.
void NoteException() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        NoteFailure("there is not enough memory");
    } catch (const std::exception& error) {
        NoteFailure("%s", error.what());
    }
}

// Runs a function that makes an image, and returns a handle of the image.
template <typename Make>
ImageHandle* Handle(Make&& make) noexcept {
    ForgetFailure();
    try {
        ImageRef image = make();
        if (image == nullptr) return nullptr;
        return new ImageRef(std::move(image));
    } catch (const std::exception&) {
        NoteException();
        return nullptr;
    }
}

// The image that a function makes of a source, matched to light by a profile if there is one.
template <typename Make>
ImageRef Matched(const BitmapSource& source, const Profile& profile, Make&& make) {
    if (profile.bytes == nullptr) return make(source);
    Coding coding = CodingOfProfile(profile, MatchingDirection::kToLight);
    BitmapSource coded = source;
    coded.transfer = coding.conversion == nullptr ? coding.transfer : Transfer::kLinear;
    ImageRef image = make(coded);
    if (coding.conversion == nullptr) return image;
    return MakeMatchedImage(std::move(image), std::move(coding.conversion));
}

// Notes that a rendering needs more memory than there is.
void NoteShortage(const Region& region, const MemoryShortage& shortage) noexcept {
    constexpr double kMegabyte = 1 << 20;
    char limit[40] = "";
    if (shortage.Limit() != 0) {
        std::snprintf(limit, sizeof limit, "; the limit is %.0f MB",
                      std::floor(static_cast<double>(shortage.Limit()) / kMegabyte));
    }
    NoteFailure("%lld x %lld pixels: rendering needs more memory than there is, at least %.0f MB%s",
                static_cast<long long>(region.width), static_cast<long long>(region.height),
                std::ceil(static_cast<double>(shortage.Needed()) / kMegabyte), limit);
}

}  // namespace

ImageHandle* MakeBitmap(const BitmapSource& source, const Profile& profile, PixelOwner owner) noexcept {
    return Handle([&] {
        // The owner is released even when making its shared pointer fails.
        std::shared_ptr<const void> shared(owner.object, owner.release);
        return Matched(source, profile,
                       [&](const BitmapSource& coded) { return MakeBitmapImage(coded, std::move(shared)); });
    });
}

ImageHandle* MakeStreamed(const BitmapSource& source, const Profile& profile, const RowReaders& readers) noexcept {
    return Handle([&] {
        // Released even when making their windows fails.
        std::array<std::shared_ptr<void>, std::tuple_size_v<RowReaders>> objects;
        for (std::size_t index = 0; index < readers.size(); ++index) {
            if (readers[index].object != nullptr) objects[index].reset(readers[index].object, readers[index].release);
        }
        return Matched(source, profile, [&](const BitmapSource& coded) {
            ReducedImages reduced;
            for (std::size_t index = readers.size(); index-- > 0;) {
                if (objects[index] == nullptr) continue;
                const std::size_t factor = std::size_t{1} << index;
                BitmapSource scaled = coded;
                scaled.width = (coded.width + factor - 1) / factor;
                scaled.height = (coded.height + factor - 1) / factor;
                scaled.bytesPerRow = scaled.width * SizeOfPixel(coded.format);
                const auto window = std::make_shared<RowWindow>(readers[index], std::move(objects[index]),
                                                                scaled.height, scaled.bytesPerRow);
                if (index == 0) return MakeStreamedImage(scaled, window, reduced);
                reduced[index - 1] = MakeStreamedImage(scaled, window);
            }
            return ImageRef(nullptr);
        });
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

ImageHandle* MakeResized(ImageHandle* image, std::int64_t width, std::int64_t height, ResizeMode mode) noexcept {
    return Handle([&] { return MakeResizedImage(*image, width, height, mode); });
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
    ForgetFailure();
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
        Render(shown, region, coded, Cut{}, *output.budget, output.session);
        return true;
    } catch (const MemoryShortage& shortage) {
        NoteShortage(region, shortage);
        errno = ENOMEM;
    } catch (const SourceFailure&) {
        NoteException();
        errno = EBADMSG;
    } catch (const std::exception&) {
        NoteException();
        errno = ENOMEM;
    }
    return false;
}

}  // namespace core_image
