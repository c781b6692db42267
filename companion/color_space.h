// color_space.h - creates host objects that wrap a color space. Thread: the host's.

#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include "interface/handles.h"

// Returns a new CGColorSpaceQOR, which retains the space; the caller owns one reference. Null when the space is null or
// the host does not have the class.
[[nodiscard]] ZEVAobjectStruct* NewColorSpaceObject(CGColorSpaceRef space);

// Whether filters can work on the numbers of a space: its profile consists of a curve for each color and a matrix.
[[nodiscard]] bool IsWorkingSpace(CGColorSpaceRef space);
