// boundary_test.h - the fixture of the tests that drive the module from outside: a fresh module and a recording host.

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/boundary/loaded_module.h"
#include "tests/boundary/recording_host.h"
#include "tests/boundary/tested_modules.h"

// A log, as tests compare it.
using Lines = std::vector<std::string>;

class BoundaryTest : public testing::Test {
  protected:
    // Calls the entry point of the filter module and clears the log. At most once per test; set the host up before.
    void Enter() {
        module.Enter();
        host.TakeLog();
    }

    // The method entry of a class with the declaration; throws when there is none.
    const ZEVAmethodDownLevel& Method(const std::string& className, const std::string& declaration) {
        for (const RegisteredClass& registered : host.classes) {
            if (registered.name != className) continue;
            for (const ZEVAmethodDownLevel& method : registered.methods) {
                if (method.declaration == declaration) return method;
            }
        }
        throw std::runtime_error(className + " has no " + declaration);
    }

    template <typename Function>
    Function* Getter(const std::string& className, const std::string& declaration) {
        return reinterpret_cast<Function*>(Method(className, declaration).function);
    }

    template <typename Function>
    Function* Setter(const std::string& className, const std::string& declaration) {
        return reinterpret_cast<Function*>(Method(className, declaration).setter);
    }

    RecordingHost host;
    LoadedModule module{FiltersModule()};
};
