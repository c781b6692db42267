// program_host.h - the host that every command starts with: both modules are loaded.
//
// The modules are in <program>/../modules. The companion is loaded first because the filters need its classes. --module
// replaces the filter module: with another shared library, or on 32 bits with object code for macOS.
//
// Lifetime: the caller owns the host; there is one per process.
// Threads:  the host belongs to the thread that made it.

#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/runtime/host.h"

// The options that every command shares.
struct ProgramOptions {
    double hostVersion = host::HostOptions().version;
    std::string module;       // path of the filter module; empty for the built one
    bool isQuiet = false;     // prints no step lines, progress and notes
    double pixelLimit = 0;    // of a picture that is read, in millions; 0 for the default
    std::string trace;        // path of the file that records every call across the boundary; empty for none
    std::string memory;       // memory limit of pictures, such as "256M"; empty for the engine's default
    std::size_t workers = 1;  // the number of processes that divide the memory
};

// Whether both built modules are in their place.
[[nodiscard]] bool HasBuiltModules();

// The folder of the recipes that come with the program.
[[nodiscard]] std::filesystem::path SharedRecipes();

// Makes a host and loads the companion and the filter module. The trace must not be one of the files that the command
// reads or writes.
//
// Fails: UsageError for such a trace and for a memory limit that is not a size, HostError when a module cannot be
// loaded, HostException when a module raises while
//        it registers its classes.
[[nodiscard]] std::unique_ptr<host::Host> MakeHost(const ProgramOptions& options,
                                                   const std::vector<std::string>& files = {});
