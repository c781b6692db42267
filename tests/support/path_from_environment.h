// path_from_environment.h - files that tests use unless the environment names others.
//
// So the same tests judge, say, a module's code for macOS: ZEVA_FILTERS_MODULE, ZEVA_PROBE_MODULE.

#pragma once

#include <cstdlib>
#include <string>

// A path from the environment, or the given one.
inline std::string PathFromEnvironment(const char* variable, const char* usual) {
    const char* path = std::getenv(variable);
    return path != nullptr ? path : usual;
}
