// host_services.h - the module's wrappers of the host services, one function for each row of interface/services.def.
//
// The contract of each function is in its row there: who owns what, how it fails, and what happens where the host lacks
// the service.
// Threads: the host's thread only.

#pragma once

#include <cstdint>

#include "interface/class_definition.h"
#include "interface/handles.h"
#include "interface/string_data.h"

#define ATTRIBUTE_kCannotFail
#define ATTRIBUTE_kCanFail [[nodiscard]]
#define SERVICE(name, wrapper, slot, result, parameters, arguments, missing, failure, ...) \
    ATTRIBUTE_##failure result wrapper parameters;
#define SERVICE_AT_LOAD(...)
#include "interface/services.def"
#undef ATTRIBUTE_kCannotFail
#undef ATTRIBUTE_kCanFail

// Whether the host has the service behind ZEVAnewInstance.
[[nodiscard]] bool ZEVACanCreateInstances();

// Whether the host has the service behind ZEVALockObject. Without it a module cannot keep an object that it was given.
[[nodiscard]] bool ZEVACanLockObjects();
