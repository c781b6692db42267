// host_test.h - what the tests of the host share: a host whose messages are kept, and class records made in a test.

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/string.h"
#include "tests/host/method_entry.h"

// A test with a host of its own.
class HostTest : public testing::Test {
  protected:
    // Registers a class of one method table, as a module would.
    void Register(const char* name, const char* superclass = nullptr, std::vector<ZEVAmethod> methods = {},
                  ZEVAword dataSize = 0) {
        ZEVAclassDefinitionDownLevel record = {
            .version = kRecordVersion, .className = name, .superclassName = superclass};
        record.instanceDataSize = dataSize;
        record.methods = methods.data();
        record.methodCount = static_cast<ZEVAword>(methods.size());
        host.Classes().Register(&record);
    }

    // What the host had to say, and forgets it.
    std::vector<std::string> TakeMessages() { return std::exchange(messages, {}); }

    std::vector<std::string> messages;
    host::Host host{{.report = [this](const std::string& message) { messages.push_back(message); }}};
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

using Messages = std::vector<std::string>;
