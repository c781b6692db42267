// conversation.h - the calls that each bridge routine must make to the host and to Objective-C objects.
//
// Each bridge routine, the constructor and the raising of an exception are modeled a second time, as plain functions
// that only record which service or object is called, in order, and the outcome. Whichever service is missing, fails or
// appears late, and whichever message raises, the module must produce the same log, outcome and reference counts.
//
// Adding a routine: a function in conversation.cpp, its row in Scenarios(), and how to call it in conversation_test.mm.

#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/boundary/recording_host.h"

// The faults of one run.
struct Faults {
    std::map<std::string, RecordingHost::Fault> services;
    std::map<std::string, Raise> messages;  // by log line: "[filter valueForKey:inputRadius]"
};

// The outcome of a call.
struct Expected {
    std::vector<std::string> log;
    Raise thrown = Raise::kNothing;
    bool returnsValue = false;  // the result is not null or 0
    int valueReferences = 1;    // of the Objective-C value that is read
    int blockReferences = 1;    // of the MemoryBlock that is written
    int madeReferences = 0;     // of all objects and blocks that the host made in the call, added up
};

// Records the calls of a modeled routine into the expectation, under the given faults.
class Script {
  public:
    explicit Script(const Faults& faults) : faults_(faults) {}

    // Looks a service up, unless it has been found before; false when it is missing.
    bool Has(const std::string& service);

    // Looks a service up and calls it; false when it is missing or fails.
    bool Call(const std::string& service, const std::string& arguments);

    // Sends a message. Throws when the faults make it raise.
    void Send(const std::string& line);

    Expected expected;

  private:
    const Faults& faults_;
    std::set<std::string> bound_;
    std::map<std::string, int> lookups_;
    std::map<std::string, int> calls_;
};

// A way to call into the module.
struct Scenario {
    const char* name;
    void (*tell)(Script& script);
};

// All scenarios.
const std::vector<Scenario>& Scenarios();

// The expected outcome of a scenario under the faults.
Expected Expect(const Scenario& scenario, const Faults& faults);
