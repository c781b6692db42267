// platform_side.h - lets C++ tests look at the platform objects inside host objects.
//
// The functions are in an Objective-C++ file of their own, because the tests catch C++ exceptions, which is not
// possible in Objective-C++ with this runtime.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "interface/handles.h"

// Returns the retain count of the object that a value object wraps.
std::size_t RetainCountOfWrapped(const ZEVAobjectStruct* object);

// Retain and return a platform object inside a host object, so that a test sees whether finalize releases it: the
// wrapped object of a value object or the dictionary of an attribute object, the filter of a filter object, and its
// attributes.
void* RetainWrapped(const ZEVAobjectStruct* object);
void* RetainFilter(const ZEVAobjectStruct* object);
void* RetainAttributes(const ZEVAobjectStruct* object);
std::size_t RetainCount(const void* object);
void Release(void* object);

// Whether an image object keeps the bitmap of its file.
bool HasBitmap(const ZEVAobjectStruct* image);

// Returns the tag of an object that wraps a Core Foundation object.
std::uint32_t CoreFoundationTag(const ZEVAobjectStruct* object);

// Returns a pixel of an image: premultiplied red, green, blue, alpha.
std::array<int, 4> PixelOf(const ZEVAobjectStruct* image, int x, int y);

// Returns a host exception for a platform exception, with or without user info; the caller owns one reference.
ZEVAobjectStruct* NewHostExceptionFrom(const char* name, const char* reason, bool withInfo);

// Replaces the image of an image object by an infinite or an empty one.
void MakeInfinite(ZEVAobjectStruct* image);
void MakeEmpty(ZEVAobjectStruct* image);
