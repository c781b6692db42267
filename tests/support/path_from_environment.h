// path_from_environment.h - paths of the files under test, which the environment can override.
//
// ZEVA_FILTERS_MODULE and ZEVA_PROBE_MODULE run the same tests on other builds of a module, such as the one for macOS.

#pragma once

#include <cstdlib>
#include <string>

// Returns the path in an environment variable, or the default when the variable is not set.
[[nodiscard]] inline std::string PathFromEnvironment(const char* variable, const char* defaultPath) {
    const char* path = std::getenv(variable);
    return path != nullptr ? path : defaultPath;
}
