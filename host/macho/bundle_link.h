// bundle_link.h - adjusts a bundle in memory as its link information says.

#pragma once

#include "host/macho/image.h"
#include "host/macho/lazy_binding.h"
#include "host/macho/object_file.h"

namespace host::macho {

// Adds the load address to pointers and fills those that are bound at load. Returns the ones that stubs fill later.
// Throws ObjectError for link information that is damaged or not supported, for libraries that do not exist here and
// for symbols that cannot be bound (binding.h).
[[nodiscard]] LazyBindings LinkBundle(const ObjectFile& bundle, const Image& image);

}  // namespace host::macho
