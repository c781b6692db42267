// gconv_path.cpp - tells the sysroot's C library where its character set converters are, before Foundation needs them.
//
// Otherwise a 32-bit program would search the machine's folders, find 64-bit converters and warn. A value that the user
// has set stays. Programs link this library; modules do not, because the environment belongs to the program.

#include <cstdlib>

namespace {

__attribute__((constructor)) void SetGconvPath() { setenv("GCONV_PATH", ZEVA_GCONV_PATH, /*overwrite=*/0); }

}  // namespace
