// tested_modules.h - which modules the tests drive.
//
// Those of the build, unless the environment names others: the same tests then judge, say, their code for macOS.

#pragma once

#include <cstdlib>
#include <string>

// A path from the environment, or the given one.
inline std::string PathFromEnvironment(const char* variable, const char* usual) {
    const char* path = std::getenv(variable);
    return path != nullptr ? path : usual;
}

// The module of the 73 classes.
inline std::string FiltersModule() { return PathFromEnvironment("ZEVA_FILTERS_MODULE", ZEVA_FILTERS_MODULE); }

// The module made for tests (probe_module.cpp).
inline std::string ProbeModule() { return PathFromEnvironment("ZEVA_PROBE_MODULE", ZEVA_PROBE_MODULE); }
