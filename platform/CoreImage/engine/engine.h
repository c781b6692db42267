// engine.h - the door between the Objective-C classes and the engine.
//
// An image crosses as an owned handle, so that no C++ object with a destructor lives in a function that sends messages: an
// Objective-C exception may leave by a jump, which runs no destructors. C++ exceptions do not cross at all.
//
// Ownership: make... gives a handle to be given back with DisposeImage; what is handed in is borrowed.
// Failure:   null or false, when memory is short or the image would be deeper than kDeepestImage or larger than kMostImages.
// Threads:   any.

#pragma once

#include <cstddef>

#include "core/bitmap.h"
#include "core/color_conversion.h"
#include "core/extent.h"
#include "core/image.h"
#include "core/inputs.h"
#include "engine/filter_table.h"

namespace core_image {

// An image that an Objective-C object owns.
using ImageHandle = const ImageRef;

// What keeps a bitmap's pixels alive: released when the last image of them is gone, also when making it fails.
struct PixelOwner {
    const void* object;
    void (*release)(const void* object);
};

// The images that no filter makes. The numbers of a bitmap stand for light as its source says, or as a profile does where there is
// one, which is borrowed for the call.
ImageHandle* MakeBitmap(const BitmapSource& source, const Profile& profile, PixelOwner owner) noexcept;
ImageHandle* MakeConstant(const double* components) noexcept;
ImageHandle* MakeCropped(ImageHandle* image, const Extent& extent) noexcept;

// An image under a map (a b c d tx ty); also null for a map that cannot be inverted.
ImageHandle* MakeTransformed(ImageHandle* image, const double* numbers) noexcept;

// An image over a background; null for two nulls.
ImageHandle* MakeSourceOver(ImageHandle* source, ImageHandle* background) noexcept;

// A mistake in the engine itself, in words; empty when there is none. Plain memory, because a jump runs no destructors.
struct Fault {
    char text[200] = "";
};

// The image of a filter, from values for all of its keys. A filter that reads any other key is at fault.
ImageHandle* MakeOutput(FilterFunction function, const InputValue* values, std::size_t count, Fault* fault) noexcept;

void DisposeImage(ImageHandle* image) noexcept;

Extent ExtentOfImage(ImageHandle* image) noexcept;

// How colors are brought to a bitmap.
struct Output {
    Profile profile;         // instead of the bitmap's curve where there is one; borrowed for the call
    bool isMatching = true;  // otherwise numbers are those of the bitmaps that the image is made of, all the way
};

// Renders a region, which is not empty, and answers whether that succeeded.
bool RenderImage(ImageHandle* image, const Region& region, const BitmapDestination& destination,
                 const Output& output) noexcept;

}  // namespace core_image
