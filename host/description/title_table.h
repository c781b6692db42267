// title_table.h - the titles of the filters that the built module registers, compiled in.
//
// A list of filters comes from here when the built modules are used as they are: loading them takes longer than
// everything else that the list needs. A test compares it with the list of the loaded modules.
//
// make_title_table.py writes the table when the program is built.

#pragma once

#include <span>

// The names of a filter, as FilterTitle has them.
struct BuiltTitle {
    const char* className;
    const char* name;
    const char* displayName;
    const char* category;
};

// In the order in which the module registers the classes.
extern const std::span<const BuiltTitle> kBuiltTitles;
