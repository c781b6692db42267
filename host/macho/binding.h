// binding.h - what an object may use of this process: a fixed list of functions.
//
// An object names functions as macOS does, with an underscore in front. A name that is not on the list is refused, so
// an object reaches nothing but what modules are known to need.
//
// Adding one: a row in binding.cpp.

#pragma once

#include <cstdint>
#include <string_view>

namespace host::macho {

// The address of what an object calls by that name; throws ObjectError for a name that is not on the list, and for a
// class that there is none of here.
std::uint32_t AddressOf(std::string_view name);

// The class of that name; throws ObjectError when there is none here.
std::uint32_t AddressOfClass(const char* name);

}  // namespace host::macho
