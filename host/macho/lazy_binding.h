// lazy_binding.h - fills the pointer of a stub when the stub is called for the first time.
//
// Code of a bundle calls the functions of other libraries through stubs, which jump to the address in a pointer. At
// first that is the address of code in the bundle that pushes the number of the stub and the address of a word of the
// bundle, the cache, and jumps to the stub binder. The binder stores the address of the function in the pointer and
// jumps there. What the number refers to has been looked up when the bundle was loaded, so no first call fails.
//
// Lifetime: a bundle is never unloaded, so its table is kept forever.
// Threads:  any. Two first calls at once store the same address.

#pragma once

#include <cstdint>
#include <map>

// The stub binder. It cannot be called from C++: its arguments are on the stack above the return address. It keeps all
// registers in which functions get arguments.
extern "C" void macos_stub_binder();

namespace host::macho {

struct LazyBinding {
    std::uint32_t place;     // the address of the pointer
    std::uint32_t function;  // what it will contain
};

using LazyBindings = std::map<std::uint32_t, LazyBinding>;  // by the number that the stub pushes

// Registers the table of the bundle in this memory permanently.
void RegisterLazyBindings(std::uint32_t address, std::uint32_t size, LazyBindings bindings);

}  // namespace host::macho
