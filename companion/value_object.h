// value_object.h - objects that wrap one Objective-C object each.

#pragma once

#include "bridge/host_objects.h"

// A new object of a value class with one retain of the value; one reference for the caller. Null for nil, and when the
// host has no such class.
ZEVAobjectStruct* NewValueObject(const char* className, id value);

// What a value object wraps; nil for null and for an object that nobody has filled.
id WrappedIn(ZEVAobjectStruct* object);

// Gives up what a value object wraps: the finalize function of the value classes.
void ReleaseWrapped(ZEVAobjectStruct* object);
