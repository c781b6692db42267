// relocation.h - makes an object's addresses right for where it lies.

#pragma once

#include "host/macho/image.h"
#include "host/macho/object_file.h"

namespace host::macho {

// Applies every relocation and fills the symbol pointers. Throws ObjectError for a relocation that it does not know,
// and for a symbol that is undefined (binding.h).
void Relocate(const ObjectFile& object, const Image& image);

}  // namespace host::macho
