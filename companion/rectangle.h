// rectangle.h - rectangles as members take them: vectors of four numbers.

#pragma once

#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

#include "interface/handles.h"

// Reads the rectangle in a CIVectorQOR; answers why it is none, autoreleased, or nil.
NSString* RectangleIn(ZEVAobjectStruct* vector, CGRect* rectangle);
