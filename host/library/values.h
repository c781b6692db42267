// values.h - converts values between the library's functions and the host.
//
// Threads: under the session's lock.

#pragma once

#include <cstdint>
#include <vector>

#include "host/library/session.h"
#include "host/runtime/value.h"
#include "zeva/host.h"

namespace host::library {

// Returns an argument as the host's value. Throws HostError, which begins with the subject, for an unknown kind.
[[nodiscard]] Value ValueOf(const ZevaValue& argument, const char* subject);

// Returns the arguments of a call. Throws HostError like the above, and for a negative number.
[[nodiscard]] std::vector<Value> ValuesOf(const ZevaValue* arguments, std::int32_t count, const char* subject);

// Stores a value as a result, which owns one reference. Null stores nothing.
void Store(Session& session, Value value, ZevaValue* result);

}  // namespace host::library
