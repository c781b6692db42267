// warp.h - images whose pixels come from other places: affine maps, distortions, reflected and rotated tiles.
//
// A warp tells for each pixel the place in the input that it comes from; pixels between pixels are interpolated bilinearly, in
// a picture between the numbers that are stored there. A place outside the input's extent is transparent.
// A tile asks the input for the pixels around the places of its own pixels, which are computed first.
//
// Lifetime: warps are immutable and shared.
// Threads:  places() on many at once.
// Adding one: derive from Warp; compute places with ForEachPlaceOf (warp-inl.h) where speed matters.

#pragma once

#include <memory>

#include "core/image.h"

namespace core_image {

// A row of pixels to find places for.
struct PlaceRow {
    std::int64_t x, y;  // the first pixel
    std::size_t count;
    const View* guide;  // the guiding image around the row, as far as guideMargin() and whole kPlaceStep; null without
};

// Where pixels come from. Each place depends on nothing but its pixel and the guide, so that the result does not depend on tiles.
class Warp {
  public:
    virtual ~Warp() = default;

    // Writes the places of a row. There is room for a multiple of kPlaceStep of them. None is NaN.
    virtual void Places(const PlaceRow& row, double* x, double* y) const = 0;

    // An extent that holds the places of all pixels whose centers lie in an extent. It may be larger, which costs time where the
    // input is a blur or a reduction.
    virtual Extent Source(const Extent& centers) const = 0;

    // Whether any of the pixels whose centers lie in an extent come from elsewhere.
    virtual bool Moves(const Extent&) const { return true; }

    // Whether pixels side by side may come from places far apart. All of the source is then held in memory.
    virtual bool IsScattered() const { return false; }

    // How many pixels around a pixel of the guide a place depends on.
    virtual std::int64_t GuideMargin() const { return 0; }

    // Whether a warped picture still is a picture, to be sampled as stored by a warp on top of it.
    virtual bool KeepsPictures() const { return false; }
};

// What lies between pixels: the mean of what a picture stores, or the mean of light.
enum class Light { kAsStored, kLinear };

// An image under a warp, which another image may guide. It is transparent outside the extent.
ImageRef MakeWarpedImage(ImageRef input, std::shared_ptr<const Warp> warp, const Extent& extent,
                         Light light = Light::kAsStored, ImageRef guide = nullptr);

}  // namespace core_image
