// linker.h - links one object file of 32-bit x86 code for macOS into a bundle.
//
// The result is what the platform's loader maps: segments of whole pages, imports with their libraries, and the link
// information that says what to change at the address where it is loaded. Relocations could say the same, but only the
// link information has stubs whose code is never written: with relocations, the loader rewrites jump tables, or a
// startup object of the platform's compiler has to bring the function that fills lazy pointers. Every system from 10.6
// to 10.14, the last that runs such code, reads link information. Its command is marked as required, so that older
// systems refuse the bundle instead of running it with wrong addresses.
//
// The same object gives the same bytes: nothing depends on the time, on paths or on addresses of this process, and the
// identifier (UUID) is computed from the content.
//
// Failure: ObjectError names the section or symbol that cannot be linked, and why.

#pragma once

#include <span>

#include "tools/link_bundle/opcodes.h"

namespace linker {

// Links the bytes of an object file to those of a bundle.
[[nodiscard]] Bytes Link(std::span<const unsigned char> file);

}  // namespace linker
