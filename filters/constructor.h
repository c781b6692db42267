// constructor.h - the constructor that all filter classes share.

#pragma once

#include "interface/handles.h"

@class NSString;

// Creates an object's filter, stores it in the object and sets the filter's defaults.
//
// Owns:   the object owns the filter through one retain.
// Fails:  an object that already has a filter raises an "UnsupportedOperationException" and keeps its filter. A name
//         that Core Image does not know leaves the object without a filter and is not reported; a later call tries
//         again. An Objective-C exception passes through.
// Thread: the host's.
void ConstructFilter(ZEVAobjectStruct* self, NSString* filterName);
