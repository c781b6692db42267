// load_object.h - runs object code for 32-bit macOS in this process.
//
// The steps in their order: object_file reads and checks the file, image places the sections in memory, relocation
// adjusts addresses and binds undefined symbols (binding: a fixed list), objective_c resolves selectors and classes
// with the runtime, and unwind_table lets C++ exceptions pass. Finally the code becomes executable and read-only.
//
// Only 32-bit processes can run such code; in others, loading fails with an error that says so.
// Lifetime: an object is never unloaded. Loading a file again creates another, independent image.
// Threads:  any, but one at a time.

#pragma once

#include <filesystem>
#include <map>
#include <span>
#include <string>

#include "host/macho/object_error.h"

namespace host::macho {

// An object in memory, ready to run.
struct LoadedObject {
    std::map<std::string, void*, std::less<>> exports;  // addresses by C name, without the underscore
    std::span<unsigned char> data;                      // the memory that its code can write to
};

// Whether a file begins like code for macOS, of any kind and for any processor.
[[nodiscard]] bool IsMachO(const std::filesystem::path& path);

// Loads object code. On failure, throws ObjectError with the reason and frees the memory.
LoadedObject LoadObject(std::span<const unsigned char> file);
LoadedObject LoadObject(const std::filesystem::path& path);

}  // namespace host::macho
