// description_table.h - the texts of filters/descriptions.json, compiled in.
//
// make_description_table.py writes the table when the program is built.

#pragma once

#include <span>

// The texts of a filter (key is empty), of one of its keys, or of all keys of a name (filter is empty). An empty unit
// or description means that the row does not say. The unit of a filter tells that it works on single pixels.
struct DescriptionRow {
    const char* filter;
    const char* key;
    const char* unit;
    const char* description;
};

extern const std::span<const DescriptionRow> kDescriptions;
