// objective_c.h - registers an object or a bundle with the Objective-C runtime before its code runs.
//
// The platform's runtime does this for each image that the loader reports. It reads the descriptions of the image and
// of its sources, which here must not have definitions. An object refers to selectors and classes by pointers to their
// names. These pointers are replaced by pointers to the runtime's selectors and classes. Constant strings need no
// change except for their class.

#pragma once

#include "host/macho/image.h"
#include "host/macho/object_file.h"

namespace host::macho {

// Fixes up a relocated image. Throws ObjectError for a class that does not exist, for a string without 8-bit
// characters, and for an object that defines classes, which is not supported.
void FixUpObjectiveC(const ObjectFile& object, const Image& image);

}  // namespace host::macho
