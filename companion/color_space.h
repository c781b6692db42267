// color_space.h - finds color spaces by name, and creates host objects that wrap one. Thread: the host's.

#pragma once

#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

#include "interface/handles.h"

// Returns the color space with a name: the platform's, with or without its prefix, and with or without spaces. The
// caller owns one reference. Null for an unknown name.
[[nodiscard]] CGColorSpaceRef NewNamedColorSpace(NSString* name);

// Returns a new CGColorSpaceQOR, which retains the space; the caller owns one reference. Null when the space is null or
// the host does not have the class.
[[nodiscard]] ZEVAobjectStruct* NewColorSpaceObject(CGColorSpaceRef space);

// Whether filters can work on the numbers of a space: its profile consists of a curve for each color and a matrix.
[[nodiscard]] bool IsWorkingSpace(CGColorSpaceRef space);
