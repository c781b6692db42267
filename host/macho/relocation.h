// relocation.h - adjusts the addresses in an object to its location in memory.

#pragma once

#include "host/macho/image.h"
#include "host/macho/object_file.h"

namespace host::macho {

// Applies each relocation and fills the symbol pointers. Throws ObjectError for an unknown relocation and for an
// undefined symbol that cannot be bound (binding.h).
void Relocate(const ObjectFile& object, const Image& image);

}  // namespace host::macho
