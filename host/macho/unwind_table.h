// unwind_table.h - lets C++ exceptions of others pass through an object's code, with its cleanups run on their way.
//
// An object describes its frames in __TEXT,__eh_frame as objects here do, but for two things: its numbers for the frame
// and the stack pointer are the other way round, and no end is marked. So the unwinder gets a copy in this machine's
// form.

#pragma once

#include <memory>

#include "host/macho/image.h"
#include "host/macho/object_file.h"

namespace host::macho {

// An object's frame descriptions as the unwinder here reads them.
class UnwindTable {
  public:
    // Makes the copy from a relocated image. Throws ObjectError for anything in it that the unwinder could stumble
    // over.
    UnwindTable(const ObjectFile& object, const Image& image);

    // Hands the copy to the unwinder, for good.
    void Register();

  private:
    std::unique_ptr<unsigned char[]> bytes_;  // null when the object has no descriptions
};

}  // namespace host::macho
