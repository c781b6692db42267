// constructor.h - the one method that every filter class adds to its properties.

#pragma once

#include "plugin/zeva.h"

@class NSString;

// Gives a filter object its filter, with the filter's defaults set; the object holds the one retain.
//
// An object that has a filter is refused with an "UnsupportedOperationException" and keeps it. A name that Core Image
// does not know leaves the object without filter, silently, and a later call tries again. An Objective-C exception goes
// through.
void ConstructFilter(ZEVAobjectStruct* self, NSString* filterName);
