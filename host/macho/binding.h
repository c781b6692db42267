// binding.h - the functions of this process that an object may use: a fixed list.
//
// Names begin with an underscore, as on macOS. A name that is not on the list is refused, so an object can use only the
// functions that modules are known to need.
//
// Adding one: a row in binding.cpp.

#pragma once

#include <cstdint>
#include <string_view>

namespace host::macho {

// The address of the function or class that an undefined symbol names. Throws ObjectError for a name that is not on the
// list and for a class that does not exist here.
[[nodiscard]] std::uint32_t AddressOf(std::string_view name);

// The address of the class with this name. Throws ObjectError if it does not exist here.
[[nodiscard]] std::uint32_t AddressOfClass(const char* name);

}  // namespace host::macho
