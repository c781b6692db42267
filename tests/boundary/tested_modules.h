// tested_modules.h - which modules the tests drive: those of the build, unless the environment names others.

#pragma once

#include "tests/support/path_from_environment.h"

// The module of the 73 classes.
inline std::string FiltersModule() { return PathFromEnvironment("ZEVA_FILTERS_MODULE", ZEVA_FILTERS_MODULE); }

// The module made for tests (probe_module.mm).
inline std::string ProbeModule() { return PathFromEnvironment("ZEVA_PROBE_MODULE", ZEVA_PROBE_MODULE); }
