// cube.cpp - tables of colors in the .cube format.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "host/recipe/cube_file.h"
#include "host/runtime/errors.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    // A file without a name: the reader takes a path.
    static const int file = memfd_create("cube", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (ftruncate(file, 0) != 0 || pwrite(file, bytes, length, 0) != static_cast<ssize_t>(length)) std::abort();
    try {
        const std::vector<float> table = ReadCubeFile(path);
        if (table.empty() || table.size() % 4 != 0) std::abort();
    } catch (const host::HostError&) {
    }
    return 0;
}
