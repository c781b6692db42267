// loaded_module.h - a built module, loaded as a host loads it.
//
// Every load is a fresh one: the module's slots, versions and records begin as they were linked, whatever earlier tests
// did. To that end the file is copied under a new name first. A module is never unloaded; the process is short.

#pragma once

#include <string>

#include "plugin/zeva.h"

class LoadedModule {
  public:
    // Loads a copy of the file; the test ends with a message when that fails.
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

    void* handle_;
};
