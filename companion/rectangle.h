// rectangle.h - reads rectangle arguments, which are vectors of four numbers. Thread: the host's.

#pragma once

#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

#include "interface/handles.h"

// Reads a rectangle from a CIVectorQOR, which is borrowed. Returns why it is not a rectangle, autoreleased, or nil on
// success.
[[nodiscard]] NSString* RectangleIn(ZEVAobjectStruct* vector, CGRect* rectangle);
