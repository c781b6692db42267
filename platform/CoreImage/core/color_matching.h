// color_matching.h - images converted between the space of a profile and the working space of filters: linear light
// with the primaries of sRGB.
//
// Matching can be switched off for a rendering; images are then rendered with the numbers stored in their bitmaps. Or
// filters can work on the numbers of another space than linear light.
// Threads: images on any thread; a WithoutMatching scope affects only the thread that prepares the rendering.

#pragma once

#include <memory>
#include <optional>

#include "core/color_conversion.h"
#include "core/image.h"

namespace core_image {

// The image of a bitmap whose numbers are read unchanged, together with a conversion to light.
ImageRef MakeMatchedImage(ImageRef numbers, std::shared_ptr<const ColorConversion> toLight);

// An image under a conversion: from light to the numbers of a space, or back.
ImageRef MakeConvertedImage(ImageRef image, std::shared_ptr<const ColorConversion> conversion);

// The image of light for an image of a space's numbers.
ImageRef MakeDecodedImage(ImageRef numbers, const Coding& toLight);

// Switches matching to light off for everything that this thread prepares within the scope. Bitmaps give the numbers
// that they store or, with a coding from light, those of another space.
class WithoutMatching {
  public:
    explicit WithoutMatching(std::optional<Coding> fromLight = std::nullopt);
    ~WithoutMatching();
    WithoutMatching(const WithoutMatching&) = delete;

  private:
    bool before_;
    std::optional<Coding> codingBefore_;
};

// Whether filters see light in what this thread prepares.
bool IsMatching();

// The coding in which this thread prepares what filters see; nothing where matching is on or off.
const std::optional<Coding>& WorkingCoding();

// The stage of light in the working coding, which must be given, for a region.
std::unique_ptr<const Stage> MakeWorkingStage(Prepared light, const Region& region);

}  // namespace core_image
