// filter_table.cpp - joins the lists of the families, sorted while compiling.

#include "engine/filter_table.h"

#include <algorithm>
#include <array>

#include "blur/filters.h"
#include "color/filters.h"
#include "compositing/filters.h"
#include "convolution/filters.h"
#include "distortion/filters.h"
#include "generator/filters.h"
#include "geometry/filters.h"
#include "halftone/filters.h"
#include "reduction/filters.h"
#include "stylize/filters.h"
#include "tile/filters.h"
#include "transition/filters.h"

namespace core_image {
namespace {

#define FILTER_ROW(name) FilterRow{"CI" #name, name},
#define ALL_FILTERS(FILTER)     \
    BLUR_FILTERS(FILTER)        \
    COLOR_FILTERS(FILTER)       \
    COMPOSITING_FILTERS(FILTER) \
    CONVOLUTION_FILTERS(FILTER) \
    DISTORTION_FILTERS(FILTER)  \
    GENERATOR_FILTERS(FILTER)   \
    GEOMETRY_FILTERS(FILTER)    \
    HALFTONE_FILTERS(FILTER)    \
    REDUCTION_FILTERS(FILTER)   \
    STYLIZE_FILTERS(FILTER)     \
    TILE_FILTERS(FILTER)        \
    TRANSITION_FILTERS(FILTER)

constexpr auto kRows = [] {
    std::array rows = {ALL_FILTERS(FILTER_ROW)};
    std::ranges::sort(rows, {}, &FilterRow::name);
    return rows;
}();
static_assert(std::ranges::adjacent_find(kRows, {}, &FilterRow::name) == kRows.end(), "a filter is listed twice");

}  // namespace

std::span<const FilterRow> FilterRows() { return kRows; }

FilterFunction FindFilter(std::string_view name) {
    const auto found = std::ranges::lower_bound(kRows, name, {}, &FilterRow::name);
    return found == kRows.end() || found->name != name ? nullptr : found->function;
}

std::string_view NameOfFilter(FilterFunction function) {
    const auto found = std::ranges::find(kRows, function, &FilterRow::function);
    return found == kRows.end() ? "unnamed filter" : found->name;
}

}  // namespace core_image
