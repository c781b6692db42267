// module.h - a module as the host has loaded it.
//
// Lifetime: a module is never unloaded; the host keeps pointers into it. Its records are made ready in place, so one
//           process loads a module once.

#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "interface/entry_point.h"

namespace host {

class Class;

struct Module {
    std::filesystem::path path;
    std::int32_t announcedVersion = 0;  // the record version that it chose for this host; 0 when it announced none
    std::vector<const Class*> classes;  // what it registered, in order
};

// The entry point of the module in a file, which is loaded for good; throws HostError that names the file and the
// reason.
void (*LoadEntryPoint(const std::filesystem::path& path))(ZEVAresolver);

}  // namespace host
