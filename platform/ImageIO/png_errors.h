// png_errors.h - how libpng reports errors: by a jump out of the library, to the last setjmp(png_jmpbuf(png)).

#pragma once

#include <png.h>

namespace image_io {

[[noreturn]] inline void Fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }

inline void Ignore(png_structp, png_const_charp) {}

}  // namespace image_io
