// gconv_path.cpp - tells a C library of the sysroot where its character set converters are.
//
// The C library looks for converters in the folders of the machine, which has 64-bit ones, and Foundation then prints a
// warning. A C library that was loaded from outside of the system's folders therefore gets GCONV_PATH set to the
// converters beside it. An installed program runs on the system's own C library, so nothing happens there. A value that
// the user has set stays.
//
// Lifetime: runs once, before main; compiled into programs only, because the environment belongs to the program.
// Failure:  without memory or a path nothing is set, and the warning appears.

#include <dlfcn.h>

#include <cstdlib>
#include <string>

namespace {

__attribute__((constructor)) void SetGconvPath() {
    Dl_info library;
    if (dladdr(reinterpret_cast<void*>(&std::getenv), &library) == 0 || library.dli_fname == nullptr) return;
    const std::string path = library.dli_fname;
    // <root>/lib/i386-linux-gnu/libc.so.6
    const std::size_t root = path.rfind("/lib/");
    if (root == std::string::npos || root == 0 || path.compare(0, root, "/usr") == 0) return;
    const std::string folder = path.substr(0, path.rfind('/')).substr(root);
    setenv("GCONV_PATH", (path.substr(0, root) + "/usr" + folder + "/gconv").c_str(), /*overwrite=*/0);
}

}  // namespace
