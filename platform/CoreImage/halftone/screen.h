// screen.h - images under a pattern: point functions that depend on the place of a pixel.
//
// A pattern is prepared for a region once, so that everything that depends on a column or a row alone is a table.
// Tables of columns are padded by one block (kBlockPixels).
// Lifetime: a ScreenRows belongs to one rendering.
// Threads:  ApplyToRun() on many at once.
// Adding one: derive from Screen and ScreenRows and pass the screen to MakeScreenImage.

#pragma once

#include <memory>

#include "core/image.h"
#include "core/inputs.h"

namespace core_image {

// A pattern prepared for a region.
class ScreenRows {
  public:
    virtual ~ScreenRows() = default;

    // Replaces a run in place (run.h). Transparent black must stay transparent black.
    virtual void ApplyToRun(const Run& run, float* blocks) const = 0;
};

// A pattern.
class Screen {
  public:
    virtual ~Screen() = default;

    virtual std::unique_ptr<const ScreenRows> MakeRows(const Region& region) const = 0;
};

// The image of an input under a pattern. Returns null for null.
ImageRef MakeScreenImage(ImageRef input, std::unique_ptr<const Screen> screen);

// The sharpness of a pattern, limited to the range from 0 to a little less than 1.
//
// Why less: at sharpness 1 the step from black to white has no width, and the formula divides by zero.
double LimitedSharpness(double given);

// The distance between the elements of a pattern, at least one pixel.
double WidthOf(const Inputs& inputs);

}  // namespace core_image
