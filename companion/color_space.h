// color_space.h - objects that wrap a color space.

#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include "interface/handles.h"

// A new CGColorSpaceQOR with one retain of the space; one reference for the caller. Null for null, and when the host has
// no such class.
ZEVAobjectStruct* NewColorSpaceObject(CGColorSpaceRef space);
