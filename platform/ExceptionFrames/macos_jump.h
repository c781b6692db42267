// macos_jump.h - the jump buffer of code compiled for 32-bit macOS, and the jump to it.

#pragma once

// macOS fixes the size, because frames are laid out around the buffer. Only six of the 18 words are used here.
using MacJumpBuffer = int[18];

// Makes the macos_setjmp call that filled the buffer return again, with 1.
extern "C" [[noreturn]] void macos_longjmp(int* buffer);
