// load_object_nowhere.cpp - refuses to load, for processes that cannot run such code.

#include "host/macho/load_object.h"

namespace host::macho {

LoadedObject LoadObject(std::span<const unsigned char>, std::uint32_t) {
    throw ObjectError("code for macOS", "only the 32-bit build of this program can run it");
}

}  // namespace host::macho
