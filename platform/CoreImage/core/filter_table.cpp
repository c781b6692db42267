// filter_table.cpp - one row for each filter that renders.

#include "core/filter_table.h"

#include "blur/blur.h"
#include "colour/colour.h"
#include "generator/generator.h"
#include "geometry/geometry.h"

namespace core_image {
namespace {

struct Row {
    std::string_view name;
    FilterFunction function;
};

// clang-format off
constexpr Row kRows[] = {
    // name                       function
    {"CIColorControls",           ColourControls},
    {"CIColorCube",               ColourCube},
    {"CIColorCubeWithColorSpace", ColourCubeWithColourSpace},
    {"CIConstantColorGenerator",  ConstantColour},
    {"CICrop",                    Crop},
    {"CIGaussianBlur",            GaussianBlur},
};
// clang-format on

}  // namespace

FilterFunction FindFilter(std::string_view name) {
    for (const Row& row : kRows) {
        if (row.name == name) return row.function;
    }
    return nullptr;
}

}  // namespace core_image
