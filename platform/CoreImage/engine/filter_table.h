// filter_table.h - the filters that render: their names and what makes their images.
//
// Keys, defaults and ranges are not here but in attributes.json; a filter function only names the keys it reads.
// Adding one: a function in the folder of its family, and its row in filter_table.cpp.

#pragma once

#include <string_view>

#include "core/image.h"
#include "core/inputs.h"

namespace core_image {

// Makes the image of a filter; null when a needed image is missing.
using FilterFunction = ImageRef (*)(const Inputs& inputs);

// The function of a filter; null for a filter that does not render.
FilterFunction FindFilter(std::string_view name);

}  // namespace core_image
