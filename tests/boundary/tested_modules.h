// tested_modules.h - the modules under test: those of the build, unless environment variables name others.

#pragma once

#include "tests/support/path_from_environment.h"

// The filter module.
[[nodiscard]] inline std::string FiltersModule() {
    return PathFromEnvironment("ZEVA_FILTERS_MODULE", ZEVA_FILTERS_MODULE);
}

// The module made for tests (probe_module.mm).
[[nodiscard]] inline std::string ProbeModule() { return PathFromEnvironment("ZEVA_PROBE_MODULE", ZEVA_PROBE_MODULE); }
