// conversation.h - the calls that each bridge routine must make to the host and to Objective-C objects.
//
// Each bridge routine, the constructor and the raising of an exception are modeled a second time, as plain functions
// that only record which service or object is called, in order, which words of which host object are written, and the
// outcome. Whichever service is missing, fails, throws or appears late, and whichever message raises or replies nil,
// the module must produce the same log, outcome and reference counts, and must leave every other word as it was.
//
// Messages that usually reply their receiver, such as retain, reply another object here. So the model also says which
// of the two is stored and used: the reply.
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
    std::set<std::string> nilReplies;       // log lines of messages that reply nil, null or 0
};

// The outcome of a call.
struct Expected {
    std::vector<std::string> log;
    std::map<std::string, std::string> written;  // the words that changed, by object, and their new values
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

    // Sends a message that replies something; false when the faults make it reply nil.
    bool Ask(const std::string& line);

    // Writes a word of a host object's data: "filterObject 0" is the filter of the filter object.
    void Write(const std::string& word, const std::string& text) { expected.written[word] = text; }

    Expected expected;
    std::set<std::string> asked;  // the lines of Ask

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

// The expected outcome of a scenario under the faults. Adds the messages that replied something to `asked`.
Expected Expect(const Scenario& scenario, const Faults& faults, std::set<std::string>* asked = nullptr);
