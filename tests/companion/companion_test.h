// companion_test.h - what the tests of the companion share: one host with both modules, a folder for files, a small
// picture.
//
// The modules are loaded once per process. Every test must leave as many objects and strings as it found.

#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/string.h"

// The host of this process, with companion and filters, an autorelease pool around every call.
host::Host& SharedHost();

// What that host had to say since it was last asked.
std::vector<std::string> TakeMessages();

class CompanionTest : public testing::Test {
  protected:
    CompanionTest();
    ~CompanionTest() override;

    // A path in the test's own folder, and the file there, with the given bytes.
    std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    std::string File(const std::string& name, const std::string& bytes) const;

    // A PNG of 3 x 2 pixels: red, green, blue; then (10,20,30), (40,50,60), (70,80,90 at half alpha).
    static std::string Picture();

    // Calls of one line.
    host::ObjectReference Shared(const char* className, const char* method, std::vector<host::Value> arguments);
    host::ObjectReference Open(const std::string& path) {
        return Shared("CIImageQOR", "Open", {host::TextValue(path)});
    }
    host::ObjectReference Object(const host::ObjectReference& object, const char* property);
    double Number(const host::ObjectReference& object, const char* property);
    std::string Text(const host::ObjectReference& object, const char* property);

    // The numbers of a vector.
    std::vector<double> Numbers(const host::ObjectReference& vector);

    host::Host& host = SharedHost();

  private:
    std::filesystem::path folder_;
    std::int64_t objectsBefore_;
    std::int64_t stringsBefore_;
};

// What a piece of work throws, as text; empty when it throws nothing.
template <typename Work>
std::string TextOfError(Work work) {
    try {
        work();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}
