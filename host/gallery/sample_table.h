// sample_table.h - the settings in gallery.json, compiled in.
//
// make_sample_table.py writes the tables when the program is built.

#pragma once

#include <cstddef>
#include <span>

// Lua lines that a sample may need. They are added when the sample uses one of the names.
struct HelperRow {
    const char* names;    // separated by |
    const char* lua;      // each line ends with a line feed
    const char* picture;  // the file that the lines open; empty for none
    const char* about;    // what the picture is
};

// A key and the Lua expression of its value.
struct AssignmentRow {
    const char* key;
    const char* value;
};

// A setting of a filter. Its assignments are kAssignments[begin] up to, not including, kAssignments[end].
struct SettingRow {
    const char* filter;
    const char* caption;
    const char* result;  // the Lua expression of the picture to write; empty for the output image in the photo's frame
    std::size_t begin;
    std::size_t end;
};

// The values of inputTime at which a transition is shown.
extern const std::span<const char* const> kTransitionTimes;
extern const std::span<const HelperRow> kHelpers;
extern const std::span<const AssignmentRow> kAssignments;
extern const std::span<const SettingRow> kSettings;
