// point.h - images computed pixel by pixel, where the pixel stands.
//
// Functions work on runs in blocks (run.h), as ForEachPixel and ForEachPlace do (pixels-inl.h): a chain of them runs through the
// cache nearest to the core, not through memory.
// Adding one: derive from PointFunction and hand it to MakePointImage; for more than one input, from CombiningFunction.

#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/image.h"

namespace core_image {

// What becomes of a pixel.
class PointFunction {
  public:
    virtual ~PointFunction() = default;

    // Replaces a run in place. In an image no larger than its input transparent black must stay transparent black.
    virtual void ApplyToRun(float* blocks, std::size_t count) const = 0;

    // One function that does what another and then this one do; null where there is none.
    virtual std::unique_ptr<const PointFunction> After(const PointFunction&) const { return nullptr; }
};

// What becomes of the pixels of several images at one place.
class CombiningFunction {
  public:
    virtual ~CombiningFunction() = default;

    // Replaces a run of the first image in place, given those of the others, some of which may be the same memory. Transparent
    // black everywhere must stay so.
    virtual void ApplyToRun(float* blocks, const float* const* others, std::size_t count) const = 0;
};

// The image of an input under a function; its extent is the input's, or the one given.
ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function);
ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function, const Extent& extent);

// The stage of a prepared input under a function, for images that can make theirs only for a rendering.
std::unique_ptr<const Stage> MakePointStage(Prepared input, std::unique_ptr<const PointFunction> function);

// The most images that one function combines.
inline constexpr std::size_t kMostCombined = 3;

// The image of two or more inputs, at most kMostCombined, under a function.
ImageRef MakeCombinedImage(std::vector<ImageRef> inputs, std::unique_ptr<const CombiningFunction> function,
                           const Extent& extent);

}  // namespace core_image
