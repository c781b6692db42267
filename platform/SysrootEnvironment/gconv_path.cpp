// gconv_path.cpp - tells the C library of the sysroot where its character set converters are, before Foundation asks.
//
// Without it a 32-bit program would look in the machine's own folders, find 64-bit converters and warn. A value that
// the user has set stays. Linked into every program, not into modules: the environment is the program's.

#include <cstdlib>

namespace {

__attribute__((constructor)) void SetGconvPath() { setenv("GCONV_PATH", ZEVA_GCONV_PATH, /*overwrite=*/0); }

}  // namespace
