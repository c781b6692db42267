// load_object.h - runs object code for 32-bit macOS in this process.
//
// In the order of the steps: object_file reads and checks, image places the sections in memory, relocation makes
// addresses right and binds what is undefined (binding: a fixed list), objective_c leads selectors and classes to the
// runtime, unwind_table lets C++ exceptions pass; then the code is made executable and no longer writable.
//
// Only 32-bit processes can run such code; elsewhere loading fails with an error that says so.
// Lifetime: an object is never unloaded. Loading a file again gives another, independent image.
// Threads:  one at a time.

#pragma once

#include <filesystem>
#include <map>
#include <span>
#include <string>

#include "host/macho/object_error.h"

namespace host::macho {

// An object in memory, ready to run.
struct LoadedObject {
    std::map<std::string, void*, std::less<>> exports;  // by name, as C knows it
    std::span<unsigned char> data;                      // all of it that its code may write to
};

// Whether a file begins as code for macOS does, whatever kind and processor.
bool IsMachO(const std::filesystem::path& path);

// Loads object code. Throws ObjectError with the reason when that cannot be done; nothing of it stays then.
LoadedObject LoadObject(std::span<const unsigned char> file);
LoadedObject LoadObject(const std::filesystem::path& path);

}  // namespace host::macho
