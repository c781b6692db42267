// warp.h - images whose pixels come from other places: affine maps, distortions, reflected and rotated tiles.
//
// A warp gives for each pixel the place in the input where it comes from. Interpolation is bilinear, in a picture
// between the stored numbers. A place outside the input's extent is transparent.
// A tile first computes the places of its pixels and then asks the input for the pixels around them.
//
// Lifetime: warps are immutable and shared.
// Threads:  Places() on many at once.
// Adding one: derive from Warp; compute places with ForEachPlaceOf (warp-inl.h) where speed matters.

#pragma once

#include <memory>

#include "core/image.h"

namespace core_image {

// A row of pixels to find places for.
struct PlaceRow {
    std::int64_t x, y;  // the first pixel
    std::size_t count;
    const View* guide;  // the guide around the row, GuideMargin() wide and padded to kPlaceStep; null without one
};

// Gives the places where pixels come from. Each place depends only on its pixel and the guide, so that the result
// does not depend on the tiling.
class Warp {
  public:
    virtual ~Warp() = default;

    // Writes the places of a row, none of them NaN. There is room for a multiple of kPlaceStep of them.
    virtual void Places(const PlaceRow& row, double* x, double* y) const = 0;

    // An extent that contains the places of all pixels whose centers lie in an extent. It may be larger, which costs
    // time where the input is a blur or a reduction.
    virtual Extent Source(const Extent& centers) const = 0;

    // Whether any of the pixels whose centers lie in an extent come from elsewhere.
    virtual bool Moves(const Extent&) const { return true; }

    // Whether neighboring pixels may come from distant places. A source that costs much, or that is read several times,
    // is then held in memory as a whole.
    virtual bool IsScattered() const { return false; }

    // How many pixels around a pixel of the guide a place depends on.
    virtual std::int64_t GuideMargin() const { return 0; }

    // Whether a warped picture is still a picture, which a second warp samples as stored.
    virtual bool KeepsPictures() const { return false; }
};

// What interpolation averages: the stored numbers of a picture, or light.
enum class Light { kAsStored, kLinear };

// An image under a warp, which may use a second image as its guide. It is transparent outside the extent.
ImageRef MakeWarpedImage(ImageRef input, std::shared_ptr<const Warp> warp, const Extent& extent,
                         Light light = Light::kAsStored, ImageRef guide = nullptr);

}  // namespace core_image
