// host_services.cpp - the wrappers and their slots, expanded from the list.

#include "plugin/host_services.h"

#include <cstdlib>

#include "plugin/service_slot.h"

namespace {

#define SERVICE(name, wrapper, slot, ...) constinit ServiceSlot<service::name> slot;
#define SERVICE_AT_LOAD(...)
#include "interface/services.def"

}  // namespace

// Without its service a wrapper does nothing and returns null or 0.
#define WRAPPER_kReturnsZero(wrapper, slot, result, parameters, arguments) \
    result wrapper parameters { return slot arguments; }

// Bytes that the host cannot take back are freed here.
#define WRAPPER_kFreesBytes(wrapper, slot, result, parameters, arguments) \
    result wrapper parameters {                                           \
        if (slot.IsBound()) {                                             \
            slot arguments;                                               \
        } else {                                                          \
            std::free(data->bytes);                                       \
        }                                                                 \
    }

#define SERVICE(name, wrapper, slot, result, parameters, arguments, missing, ...) \
    WRAPPER_##missing(wrapper, slot, result, parameters, arguments)
#define SERVICE_AT_LOAD(...)
#include "interface/services.def"

bool ZEVACanCreateInstances() { return pNewInstance.IsBound(); }

bool ZEVACanLockObjects() { return pLockObject.IsBound(); }
