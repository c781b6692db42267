// point.h - images computed pixel by pixel, in place.
//
// Functions work on runs in blocks (run.h), as ForEachPixel and ForEachPlace do (pixels-inl.h). A chain of functions
// thus runs through the cache nearest to the core, not through memory. A chain is one stage, however long, as long as
// each of its images is used only by the next.
// Adding one: derive from PointFunction and pass it to MakePointImage; for more than one input, derive from
//             CombiningFunction.

#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/image.h"

namespace core_image {

// A function of a pixel.
class PointFunction {
  public:
    virtual ~PointFunction() = default;

    // Replaces a run in place. In an image no larger than its input, transparent black must stay transparent black.
    virtual void ApplyToRun(float* blocks, std::size_t count) const = 0;

    // Does the same, bit for bit, with pixels that are not in blocks, and writes the results elsewhere. Returns false,
    // and does nothing, for a function that needs blocks.
    virtual bool ApplyToPixels(const float* /*from*/, float* /*to*/, std::size_t /*count*/) const { return false; }

    // Called before so many pixels are replaced, maybe on several threads at once: the place to make a table that pays
    // only for many.
    virtual void Expect(double /*pixels*/) const {}

    // One function equivalent to another followed by this one; null if there is none.
    virtual std::unique_ptr<const PointFunction> After(const PointFunction&) const { return nullptr; }
};

// A function of the pixels of several images at one place.
class CombiningFunction {
  public:
    virtual ~CombiningFunction() = default;

    // Replaces a run of the first image in place, given those of the others, some of which may share memory.
    // Transparent black in all images must give transparent black.
    virtual void ApplyToRun(float* blocks, const float* const* others, std::size_t count) const = 0;

    // Whether, of two images, one that is transparent leaves the pixels of the other unchanged, except for the sign of
    // zero. Where a chain combines many small images, those that are elsewhere are then left out.
    virtual bool KeepsPixelsAlone() const { return false; }
};

// The image of an input under a function. Its extent is the input's, or the given one.
ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function);
ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function, const Extent& extent);

// The stage of a prepared input under a function, for a region of an image whose function depends on the rendering.
std::unique_ptr<const Stage> MakePointStage(Prepared input, const Region& region,
                                            std::unique_ptr<const PointFunction> function);

// The largest number of images that one function combines.
inline constexpr std::size_t kMostCombined = 3;

// The image of two or more inputs, at most kMostCombined, under a function.
ImageRef MakeCombinedImage(std::vector<ImageRef> inputs, std::unique_ptr<const CombiningFunction> function,
                           const Extent& extent);

}  // namespace core_image
