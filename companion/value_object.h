// value_object.h - host objects that wrap one Objective-C object each. Thread: the host's.

#pragma once

#include "bridge/host_objects.h"

// Returns a new object of a value class, which retains the value; the caller owns one reference. Null when the value is
// nil or the host does not have the class.
[[nodiscard]] ZEVAobjectStruct* NewValueObject(const char* className, id value);

// Returns the object that a value object wraps, borrowed; nil for null and for an object without a value.
[[nodiscard]] id WrappedIn(ZEVAobjectStruct* object);

// Releases the wrapped object. The finalize function of the value classes.
void ReleaseWrapped(ZEVAobjectStruct* object);
