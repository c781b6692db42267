// filter_table.h - the filters that render, found by name.
//
// A filter's keys, defaults and ranges are in attributes.json; its function only names the keys that it reads.
// Threads:  any.
// Adding a filter: see the filters.h of its family. Adding a family: its list in filter_table.cpp.

#pragma once

#include <span>
#include <string_view>

#include "core/filter.h"

namespace core_image {

// Every filter that renders, sorted by name.
[[nodiscard]] std::span<const FilterRow> FilterRows();

// The function of a filter; null for a filter that does not render.
[[nodiscard]] FilterFunction FindFilter(std::string_view name);

// The name of a filter, for messages; "unnamed filter" for a function that is not in the table.
[[nodiscard]] std::string_view NameOfFilter(FilterFunction function);

}  // namespace core_image
