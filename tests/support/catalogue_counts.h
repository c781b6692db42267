// catalogue_counts.h - how many classes, keys, properties and methods the module has.
//
// The numbers are the `expect` lines of filters/catalogue.txt. Tests take them from here, so adding a filter changes no
// test that only counts.

#pragma once

#include <cstddef>
#include <string>

// The count of "classes", "keys", "properties" or "methods". Throws std::runtime_error when no line gives it.
std::size_t CatalogueCount(const std::string& what);
