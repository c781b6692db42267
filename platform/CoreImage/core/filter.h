// filter.h - what a filter is to the engine: a function that makes an image from inputs, and a row that names it.
//
// Each family lists its filters once, in its filters.h. From that list come the declarations of the functions
// (below) and the rows of the table that finds a filter by name (engine/filter_table.cpp).

#pragma once

#include <string_view>

#include "core/image.h"
#include "core/inputs.h"

namespace core_image {

// Makes the image of a filter. Returns null when an image that the filter needs is missing. Throws UndeclaredKey
// (inputs.h).
using FilterFunction = ImageRef (*)(const Inputs& inputs);

// A filter that renders.
struct FilterRow {
    std::string_view name;
    FilterFunction function;
};

}  // namespace core_image

// Declares the function of one filter of a list.
#define DECLARE_FILTER(name) ImageRef name(const Inputs& inputs);
