// host_test.h - the fixture of the host tests: a host whose messages are collected, and classes made by a test.

#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/string.h"
#include "tests/host/method_entry.h"

// A test with its own host.
class HostTest : public testing::Test {
  protected:
    // Registers a class with one method table, as a module would.
    void Register(const char* name, const char* superclass = nullptr, std::vector<ZEVAmethod> methods = {},
                  ZEVAword dataSize = 0) {
        ZEVAclassDefinitionDownLevel record = {
            .version = kRecordVersion, .className = name, .superclassName = superclass};
        record.instanceDataSize = dataSize;
        record.methods = methods.data();
        record.methodCount = static_cast<ZEVAword>(methods.size());
        host.Classes().Register(&record);
    }

    // Returns the messages that the host has reported since the last call.
    std::vector<std::string> TakeMessages() { return std::exchange(messages, {}); }

    std::vector<std::string> messages;
    host::Host host{{.report = [this](const std::string& message) { messages.push_back(message); }}};
};

// The text of the exception that the work throws; empty if it throws none.
template <typename Work>
std::string TextOfError(Work work) {
    try {
        work();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

using Messages = std::vector<std::string>;
