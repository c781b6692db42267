// unwind_table.h - lets C++ exceptions of other code pass through an object's code and run its cleanups.
//
// The frame descriptions in __TEXT,__eh_frame differ from those of this machine in two ways: the register numbers of
// the frame pointer and the stack pointer are swapped, and the end is not marked. The unwinder therefore gets a
// converted copy.

#pragma once

#include <memory>

#include "host/macho/image.h"
#include "host/macho/object_file.h"

namespace host::macho {

// An object's frame descriptions in the form that the unwinder of this machine reads.
class UnwindTable {
  public:
    // Makes the copy from a relocated image. Throws ObjectError for anything that the unwinder could not handle.
    UnwindTable(const ObjectFile& object, const Image& image);

    // Registers the copy with the unwinder permanently.
    void Register();

  private:
    std::unique_ptr<unsigned char[]> bytes_;  // null if the object has no descriptions
};

}  // namespace host::macho
