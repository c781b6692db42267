// conversation.h - what a call into the module must say, to the host and to Objective-C objects, told a second time.
//
// Every bridge routine, the constructor and the raising of an exception stand here once more as plain functions that only write
// down who is asked for what, in order, and what comes of it. Whichever service is missing, refuses or comes late, and whichever
// message raises, the module must come to the same log, the same outcome and the same reference counts.
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

// What leaves a call in the end, and what it leaves behind.
struct Expected {
    std::vector<std::string> log;
    Raise thrown = Raise::kNothing;
    bool answers = false;     // something other than null or 0
    int valueReferences = 1;  // of the Objective-C value that is read
    int blockReferences = 1;  // of the MemoryBlock that is written
    int madeReferences = 0;   // of all objects and blocks that the host made in the call, together
};

// A call, told: it writes what it says into the expectation, with the faults at work.
class Script {
  public:
    explicit Script(const Faults& faults) : faults_(faults) {}

    // A service is asked for by name, once it is needed and until it is found.
    bool Has(const std::string& service);

    // A service is asked for and called; false when it is missing or fails.
    bool Call(const std::string& service, const std::string& arguments);

    // A message is sent; it raises where the faults say so.
    void Send(const std::string& line);

    Expected expected;

  private:
    const Faults& faults_;
    std::set<std::string> bound_;
    std::map<std::string, int> lookups_;
    std::map<std::string, int> calls_;
};

// One way to call into the module.
struct Scenario {
    const char* name;
    void (*tell)(Script& script);
};

// All of them.
const std::vector<Scenario>& Scenarios();

// The expectation of a scenario under the faults.
Expected Expect(const Scenario& scenario, const Faults& faults);
