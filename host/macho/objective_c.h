// objective_c.h - what an object needs of the Objective-C runtime before its code may run.
//
// Selectors and classes stand in an object as names, each behind a pointer of its own that the code reads. Here the
// pointers are led to the runtime's selectors and classes; constant strings get no change beyond their class.

#pragma once

#include "host/macho/image.h"
#include "host/macho/object_file.h"

namespace host::macho {

// Fixes a relocated image up. Throws ObjectError for a class that there is none of, for a string that is not made of
// 8-bit characters, and for an object that defines classes itself: those are not registered here.
void FixUpObjectiveC(const ObjectFile& object, const Image& image);

}  // namespace host::macho
