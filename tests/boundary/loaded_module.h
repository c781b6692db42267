// loaded_module.h - a built module, loaded as a host loads it: a shared library, or object code for macOS.
//
// Every LoadedModule begins as the module was linked: its slots, versions and records know nothing of earlier tests. The file is
// loaded once per process and never unloaded (the Objective-C runtime keeps pointers into it); its data is put back instead.
// For the same reason there is one LoadedModule of a file at a time.

#pragma once

#include <string>

#include "interface/entry_point.h"

class LoadedModule {
  public:
    struct Loaded;

    // Loads the file, or puts its data back to where they were after loading. Throws with a message when it cannot be loaded.
    explicit LoadedModule(const std::string& path);

    // Calls the module's entry point with the resolver of the recording host.
    void Enter() const;

    // A function that the module exports; null when it exports none of that name.
    template <typename Function>
    Function* Find(const char* name) const {
        return reinterpret_cast<Function*>(FindAddress(name));
    }

  private:
    void* FindAddress(const char* name) const;

    const Loaded* loaded_;
};
