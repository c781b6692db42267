// module.h - a loaded module.
//
// Lifetime: a module is never unloaded, because the host keeps pointers into it. A module converts its records in
//           place, so a process can load it only once.

#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "interface/entry_point.h"

namespace host {

class Class;

struct Module {
    std::filesystem::path path;
    std::int32_t announcedVersion = 0;  // the record version that it chose for this host; 0 if it announced none
    std::vector<const Class*> classes;  // the classes that it registered, in order
};

// The exported function of a module, which the host calls once.
using EntryPoint = void (*)(ZEVAresolver);

// The file with the code of a module: the executable of a bundle that is a folder; any other path itself, and that of a
// folder that is not a bundle.
[[nodiscard]] std::filesystem::path ModuleFile(const std::filesystem::path& path);

// The modules that the environment adds to those of a program: the variable ZEVA_MODULES lists their files, separated
// by colons.
[[nodiscard]] std::vector<std::filesystem::path> ModulesOfEnvironment();

// Adds paths to a list, leaving out those that name a file that is in it.
void AddModules(std::vector<std::filesystem::path>& modules, std::span<const std::filesystem::path> added);

// Loads a module's file permanently and returns its entry point. Throws HostError with the file and the reason.
EntryPoint LoadEntryPoint(const std::filesystem::path& path);

}  // namespace host
