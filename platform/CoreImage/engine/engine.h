// engine.h - the door between the Objective-C classes and the engine.
//
// An image crosses the boundary as an owned handle, so that no C++ object with a destructor lives in a function that
// sends messages: an Objective-C exception may leave by longjmp, which runs no destructors. C++ exceptions never cross.
//
// Ownership: Make... returns a handle that the caller frees with DisposeImage; arguments are borrowed.
// Failure:   null or false when memory is short; failure.h has the reason.
// Threads:   any.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/bitmap.h"
#include "core/color_conversion.h"
#include "core/extent.h"
#include "core/image.h"
#include "core/inputs.h"
#include "core/memory_budget.h"
#include "core/render_session.h"
#include "engine/filter_table.h"
#include "sampling/resized.h"

namespace core_image {

// An image that an Objective-C object owns.
using ImageHandle = const ImageRef;

// The object that keeps a bitmap's pixels alive. It is released with the last image of them, also when making one
// fails.
struct PixelOwner {
    const void* object;
    void (*release)(const void* object);
};

// Images that are not made by filters. The numbers of a bitmap encode light as its source says, or as a profile says
// where there is one; the profile is borrowed for the call.
[[nodiscard]] ImageHandle* MakeBitmap(const BitmapSource& source, const Profile& profile, PixelOwner owner) noexcept;

// The image of a bitmap whose rows a reader decodes when they are needed. Takes over the reader, also when that fails.
// The readers of the same picture at a half, a quarter and an eighth of its size follow; those without an object are
// left out.
using RowReaders = std::array<RowReader, 4>;
[[nodiscard]] ImageHandle* MakeStreamed(const BitmapSource& source, const Profile& profile,
                                        const RowReaders& readers) noexcept;
[[nodiscard]] ImageHandle* MakeConstant(const double* components) noexcept;
[[nodiscard]] ImageHandle* MakeCropped(ImageHandle* image, const Extent& extent) noexcept;

// An image under an affine map (a b c d tx ty). Also returns null for a map that cannot be inverted.
[[nodiscard]] ImageHandle* MakeTransformed(ImageHandle* image, const double* numbers) noexcept;

// An image resized to a size of at least 1 x 1; also returns null for an image without a finite extent.
[[nodiscard]] ImageHandle* MakeResized(ImageHandle* image, std::int64_t width, std::int64_t height,
                                       ResizeMode mode) noexcept;

// An image over a background; null for two nulls.
[[nodiscard]] ImageHandle* MakeSourceOver(ImageHandle* source, ImageHandle* background) noexcept;

// Why something failed; empty when it did not. Plain memory, because longjmp runs no destructors.
struct Fault {
    char text[200] = "";
};

// The image of a filter, made from one value for each of its keys. Reading any other key is a mistake in the engine
// itself: the result is null and the fault is set.
[[nodiscard]] ImageHandle* MakeOutput(FilterFunction function, const InputValue* values, std::size_t count,
                                      Fault* fault) noexcept;

void DisposeImage(ImageHandle* image) noexcept;

Extent ExtentOfImage(ImageHandle* image) noexcept;

// How colors are converted for a bitmap.
struct Output {
    Profile profile;         // replaces the bitmap's curve where there is one; borrowed for the call
    bool isMatching = true;  // if not, numbers of the source bitmaps are used unchanged
    // The space that filters work in: linear light, the sRGB curve, or that of a profile, borrowed for the call.
    Transfer workingTransfer = Transfer::kLinear;
    Profile workingProfile = {};
    MemoryBudget* budget = &MemoryBudget::Default();
    RenderSession* session = nullptr;  // of several renderings of one recipe; null for a single one
};

// Renders a region that is not empty. Returns whether that succeeded; if not, errno is EBADMSG when a picture cannot be
// decoded, and otherwise ENOMEM.
[[nodiscard]] bool RenderImage(ImageHandle* image, const Region& region, const BitmapDestination& destination,
                               const Output& output) noexcept;

}  // namespace core_image
