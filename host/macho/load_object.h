// load_object.h - runs code for 32-bit macOS in this process: object files and bundles.
//
// The steps in their order: object_file reads and checks the file, image places it in memory, relocation (of an object)
// or bundle_link (of a bundle) adjusts addresses and binds undefined symbols (binding: a fixed list), objective_c
// registers it with the runtime, and unwind_table lets C++ exceptions pass. Finally each page gets its access rights.
// The functions that a bundle calls through stubs are bound when they are first called (lazy_binding).
//
// Only 32-bit processes can run such code; in others, loading fails with an error that says so.
// Lifetime: an object is never unloaded. Loading a file again creates another, independent image.
// Threads:  any, but one at a time.

#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "host/macho/object_error.h"

namespace host::macho {

// An object in memory, ready to run.
struct LoadedObject {
    std::map<std::string, void*, std::less<>> exports;  // addresses by C name, without the underscore
    std::span<unsigned char> data;                      // the memory that its code can write to
    std::uintptr_t base = 0;                            // the address of the object's address 0
    std::uintptr_t size = 0;
};

// Where a file was loaded.
struct LoadedRange {
    std::filesystem::path file;
    std::uintptr_t base = 0;
    std::uintptr_t size = 0;
};

// The file with the code at a path: the executable of a bundle that is a folder, as its list of properties names it;
// any other path itself. Throws ObjectError for a folder that is not a bundle.
[[nodiscard]] std::filesystem::path CodeFile(const std::filesystem::path& path);

// Whether a file begins like code for macOS, of any kind and for any processor.
[[nodiscard]] bool IsMachO(const std::filesystem::path& file);

// Loads an object file or a bundle's executable, a bundle at the given address unless it is 0. On failure, throws
// ObjectError with the reason and frees the memory.
LoadedObject LoadObject(std::span<const unsigned char> file, std::uint32_t address = 0);
LoadedObject LoadObject(const std::filesystem::path& file);

// The files that were loaded by their path, in order. For reports of a crash: the system knows nothing of this memory.
[[nodiscard]] const std::vector<LoadedRange>& LoadedRanges();

}  // namespace host::macho
