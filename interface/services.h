// services.h - each host service as a type, which carries its row of services.def.
//
// service::PluginNewInstance, for example, has the service's name, its signature and its contract. Code that handles a
// service takes the type, so a function of another signature does not compile.

#pragma once

#include <cstdint>

#include "interface/class_definition.h"
#include "interface/entry_point.h"
#include "interface/handles.h"
#include "interface/string_data.h"

namespace service {

// What a module does when the host lacks the service. No missing service is an error, and none is reported.
enum class Missing {
    kReturnsZero,    // the wrapper does nothing and returns null or 0
    kFreesBytes,     // the wrapper frees the bytes itself
    kVersionIsZero,  // the host counts as version 0.0
    kNeverMissing,   // every host has the service
};

// Whether a call can fail. One that fails returns null or 0.
enum class Failure { kCannotFail, kCanFail };

// What changes hands in a call. Anything else is borrowed for the duration of the call.
enum class Ownership {
    kNothing,
    kGivesReference,  // the result comes with one reference, owned by the caller
    kAddsReference,   // the caller owns one more reference to the argument
    kDropsReference,  // the caller gives up one reference to the argument
    kLendsBytes,      // the caller must give the bytes back
    kTakesBackBytes,  // the caller gives the bytes back
    kKeepsArgument,   // the host keeps pointers into the argument for the life of the process
};

// Which of this project's modules call the service. The host offers all of them to every module.
enum class Users { kFilterModule = 1, kCompanion = 2, kBothModules = 3 };

#define DESCRIBE(name, result, parameters, missing, failure, ownership, users) \
    struct name {                                                              \
        using Signature = result parameters;                                   \
        static constexpr const char* kName = #name;                            \
        static constexpr Missing kMissing = Missing::missing;                  \
        static constexpr Failure kFailure = Failure::failure;                  \
        static constexpr Ownership kOwnership = Ownership::ownership;          \
        static constexpr Users kUsers = Users::users;                          \
    };
#define SERVICE(name, wrapper, slot, result, parameters, arguments, missing, failure, ownership, users) \
    DESCRIBE(name, result, parameters, missing, failure, ownership, users)
#define SERVICE_AT_LOAD DESCRIBE
#include "interface/services.def"
#undef DESCRIBE

// Asks the resolver for a service; null when the host lacks it.
template <typename Service>
[[nodiscard]] typename Service::Signature* Resolve(ZEVAresolver resolver) {
    return reinterpret_cast<typename Service::Signature*>(resolver(Service::kName));
}

}  // namespace service
