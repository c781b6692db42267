// stubs.h - the code of the stubs.
//
// A stub jumps to the address in its lazy pointer. At first that is the address of its helper, which pushes the number
// of the stub and goes on to the common helper. That one pushes the address of the cache, a word that the loader uses
// to find the bundle, and jumps to the stub binder of the loader (host/macho/lazy_binding.h).
//
// The code finds addresses relative to its own, so that no page of it is ever written. Register eax is free at a call:
// functions that could get an argument in it are not called through stubs.

#pragma once

#include <cstdint>

namespace linker {

class Layout;

inline constexpr std::uint32_t kStubSize = 12;
inline constexpr std::uint32_t kStubHelperSize = 12;
inline constexpr std::uint32_t kStubHelpersSize = 20;  // of the common helper, which comes first

// Writes the code of the stub with this index, and points its lazy pointer to its helper. lazyProgram: the position in
// the lazy program, the number that its helper pushes.
void WriteStub(Layout& layout, std::uint32_t index, std::uint32_t lazyProgram);

// Writes the common helper. binder: the address of the pointer to the stub binder.
void WriteCommonHelper(Layout& layout, std::uint32_t binder);

}  // namespace linker
