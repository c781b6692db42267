// binding.h - the functions of this process that a module may use: a fixed list (imports.h).
//
// A name that is not on the list is refused, so a module can use only the functions that modules are known to need.

#pragma once

#include <cstdint>
#include <string_view>

namespace host::macho {

// The address of the function or class that an undefined symbol names. Throws ObjectError for a name that is not on the
// list and for a class that does not exist here.
[[nodiscard]] std::uint32_t AddressOf(std::string_view name);

// The same for a symbol that a bundle imports from a library. Throws, too, if another library exports it.
[[nodiscard]] std::uint32_t AddressOf(std::string_view name, std::string_view library);

// The address of the class with this name. Throws ObjectError if it does not exist here.
[[nodiscard]] std::uint32_t AddressOfClass(const char* name);

}  // namespace host::macho
