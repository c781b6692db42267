// companion_test.h - the fixture of the companion's tests: a host with both modules, a folder for files, a small
// picture.
//
// The modules are loaded once per process. A test fails when it leaves more or fewer host objects and strings than it
// found, or when the host reports anything.

#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/string.h"

// Returns the host of this process. It has loaded the companion and the filters, and drains an autorelease pool after
// every call.
host::Host& SharedHost();

// Returns and clears the reports of that host.
std::vector<std::string> TakeMessages();

class CompanionTest : public testing::Test {
  protected:
    CompanionTest();
    ~CompanionTest() override;

    // Returns a path in the test's folder. File also writes the bytes there.
    std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    std::string File(const std::string& name, const std::string& bytes) const;

    // Returns a PNG of 3 x 2 pixels. Top row: red, green, blue. Bottom row: (10,20,30), (40,50,60), and (70,80,90) at
    // half alpha.
    static std::string Picture();

    // Shorthands for calls of the host.
    host::ObjectReference Shared(const char* className, const char* method, std::vector<host::Value> arguments);
    host::ObjectReference Open(const std::string& path) {
        return Shared("CIImageQOR", "Open", {host::TextValue(path)});
    }
    host::ObjectReference Object(const host::ObjectReference& object, const char* property);
    double Number(const host::ObjectReference& object, const char* property);
    std::string Text(const host::ObjectReference& object, const char* property);

    // Returns the elements of a vector.
    std::vector<double> Numbers(const host::ObjectReference& vector);

    host::Host& host = SharedHost();

  private:
    std::filesystem::path folder_;
    std::int64_t objectsBefore_;
    std::int64_t stringsBefore_;
};

// Returns the message of the exception that the work throws; empty when it throws none.
template <typename Work>
std::string TextOfError(Work work) {
    try {
        work();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}
