// macos_jump.h - the jump buffer of code for 32-bit macOS, and the jump to it.

#pragma once

// Its size is fixed by that system: frames are laid out around it. Of the 18 words only six are used here.
using MacJumpBuffer = int[18];

// Goes on where macos_setjmp filled the buffer, which then answers 1; does not return.
extern "C" void macos_longjmp(int* buffer);
