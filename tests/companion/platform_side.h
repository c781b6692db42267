// platform_side.h - what tests ask of the platform's side of an object. In a file of its own: C++ exceptions, which the
// tests catch, and messages do not mix in one unit.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "interface/handles.h"

// How many references there are to what a value object wraps.
std::size_t RetainCountOfWrapped(const ZEVAobjectStruct* object);

// One more reference to what an object holds (a value object, or the dictionary of an attribute object; a filter
// object's filter and its attributes), and its end: so that a test sees what a finalize function gives back.
void* RetainWrapped(const ZEVAobjectStruct* object);
void* RetainFilter(const ZEVAobjectStruct* object);
void* RetainAttributes(const ZEVAobjectStruct* object);
std::size_t RetainCount(const void* thing);
void Release(void* thing);

// Whether an image object holds the bitmap that it was opened from.
bool HasBitmap(const ZEVAobjectStruct* image);

// The tag of an object of the Core Foundation family.
std::uint32_t CoreFoundationTag(const ZEVAobjectStruct* object);

// A pixel of an image, premultiplied red, green, blue, alpha.
std::array<int, 4> PixelOf(const ZEVAobjectStruct* image, int x, int y);

// The host exception made of a platform exception, with one reference; with or without user info.
ZEVAobjectStruct* NewHostExceptionFrom(const char* name, const char* reason, bool withInfo);

// Turns an image object's image into one without end, or an empty one.
void MakeEndless(ZEVAobjectStruct* image);
void MakeEmpty(ZEVAobjectStruct* image);
