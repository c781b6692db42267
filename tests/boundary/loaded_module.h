// loaded_module.h - a built module, loaded as a host loads it: a shared library, or object code for macOS.
//
// Every LoadedModule starts with the module's initial data, so that no slot, version or record depends on earlier
// tests. The file is loaded once per process and never unloaded, because the Objective-C runtime keeps pointers into
// it; its data is restored instead. So only one LoadedModule of a file may exist at a time.

#pragma once

#include <string>

#include "interface/entry_point.h"

class LoadedModule {
  public:
    struct Loaded;

    // Loads the file, or restores its initial data. Throws std::runtime_error when it cannot be loaded.
    explicit LoadedModule(const std::string& path);

    // Calls the module's entry point with the resolver of the recording host.
    void Enter() const;

    // A function that the module exports; null when there is none with the name.
    template <typename Function>
    Function* Find(const char* name) const {
        return reinterpret_cast<Function*>(FindAddress(name));
    }

  private:
    void* FindAddress(const char* name) const;

    const Loaded* loaded_;
};
