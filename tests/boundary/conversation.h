// conversation.h - what a call into the module must say, to the host and to Objective-C objects, told a second time.
//
// Every bridge routine, the constructor's refusal and RaiseException stand here once more as plain functions that only
// write down what is asked of whom, in order, and what comes out. Whatever service is missing, refuses or comes late, and
// whichever message raises, the module must come to the same log, the same outcome and the same reference counts.
//
// Adding a routine: a function of Script, and a row in the list of scenarios in conversation.mm.

#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/boundary/recording_host.h"

// What a message raises.
enum class Raise { kNothing, kNSException, kOtherObject, kForeign };

// What leaves the call in the end.
enum class Outcome { kReturns, kThrowsObject, kThrowsForeign };

// The faults of one run: those of the host's services, and one message that raises.
struct Faults {
    std::map<std::string, RecordingHost::Fault> services;
    std::string raisingMessage;  // as it stands in the log, without its arguments: "[filter valueForKey:"
    Raise raise = Raise::kNothing;
};

// What must come out of one call.
struct Expected {
    std::vector<std::string> log;
    Outcome outcome = Outcome::kReturns;
    bool hasResult = false;     // the call answers something other than null or 0
    int blockReferences = 0;    // of the MemoryBlock written, after the call
    int valueReferences = 1;    // of the Objective-C value read, after the call
    int objectReferences = 0;   // of all host objects that the call made, together
};

// One way to call into the module.
struct Scenario {
    std::string name;
    std::function<Expected(const Faults&)> expect;
    std::vector<std::string> services;  // every service that the call can reach
    std::vector<std::string> messages;  // every message of it that can raise
};

// All of them.
const std::vector<Scenario>& Scenarios();
