// word.h - the unit of every structure that crosses the boundary.
//
// Each field is one word, as wide as a pointer: 4 bytes on the module's own target. Counts and flags are 32-bit numbers
// held in a word.

#pragma once

#include <cstdint>

using ZEVAword = std::intptr_t;

static_assert(sizeof(ZEVAword) == sizeof(void*));
