// screen.h - images drawn with a pattern: point functions that know where their pixels stand.
//
// A pattern is made ready for a region once, so that what depends on a column or on a row alone is a table. Tables of columns go on for a block more (kBlockPixels).
// Lifetime: a ScreenRows belongs to one rendering. Threads: ApplyToRun() on many at once.
// Adding one: derive from Screen and ScreenRows and hand the screen to MakeScreenImage.

#pragma once

#include <memory>

#include "core/image.h"
#include "core/inputs.h"

namespace core_image {

// A pattern made ready for a region.
class ScreenRows {
  public:
    virtual ~ScreenRows() = default;

    // Replaces a run in place (run.h). Transparent black must stay so.
    virtual void ApplyToRun(const Run& run, float* blocks) const = 0;
};

// A pattern.
class Screen {
  public:
    virtual ~Screen() = default;

    virtual std::unique_ptr<const ScreenRows> MakeRows(const Region& region) const = 0;
};

// The image of an input under a pattern; null without an input.
ImageRef MakeScreenImage(ImageRef input, std::unique_ptr<const Screen> screen);

// How sharp a pattern is: from 0 to a little less than 1.
//
// Why less: at sharpness 1 the step from black to white has no width, and what stands just on it would be neither.
double LimitedSharpness(double given);

// How far apart the elements of a pattern are: one pixel at least.
double WidthOf(const Inputs& inputs);

}  // namespace core_image
