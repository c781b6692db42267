// stage.h - where a check is played: one host, the siblings and the module under examination, all of it watched.
//
// Calls into members go through here and never throw: what the module raised is part of the answer.
//
// Lifetime: made once in a process that ends after the check; it is never taken down, so that a module that left
//           something in disorder is judged for that alone.
// Threads:  the host's thread.

#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/checker/watch.h"
#include "host/runtime/host.h"

namespace checker {

// What is examined, and with what beside it.
struct Subject {
    std::filesystem::path module;
    std::vector<std::filesystem::path> siblings;
    host::CallScope callScope;
    double hostVersion = host::HostOptions().version;
};

// How a stage is set up, beside the plain way.
struct StageOptions {
    std::optional<double> hostVersion;  // instead of the subject's
    bool hasVersion = true;             // whether the host tells modules its version
    bool siblingsComeFirst = true;
    bool guardsBlocks = false;
    std::map<std::string, ServiceFault> faults = {};
};

// What came of a call: a value, or what was raised instead.
struct Answer {
    host::Value value;
    host::ObjectReference raised;
    bool leftByException = false;  // a C++ or platform exception came out

    bool IsGood() const { return !raised && !leftByException; }
};

class Stage {
  public:
    // Loads everything. Throws HostError when a module cannot be loaded.
    explicit Stage(const Subject& subject, StageOptions options = {});

    // The classes of the module under examination that can have objects, in their order.
    std::vector<const host::Class*> Classes();

    // All classes of the host, those of siblings included.
    const std::vector<const host::Class*>& AllClasses() { return host.Classes().All(); }

    // A new object, with and without a call of the constructor that takes nothing; empty when something was raised.
    host::ObjectReference New(const host::Class& isa);
    host::ObjectReference NewUnconstructed(const host::Class& isa);

    // Calls into the module.
    Answer Construct(const host::ObjectReference& object);
    Answer Read(const host::ObjectReference& object, const host::Member& property);
    Answer Write(const host::ObjectReference& object, const host::Member& property, const host::Value& value);
    Answer Call(const host::ObjectReference& object, const host::Member& method,
                const std::vector<host::Value>& arguments);
    Answer CallShared(const host::Class& isa, const host::Member& method, const std::vector<host::Value>& arguments);

    Watch watch;
    std::vector<std::string> messages;  // what the host had to say
    host::Host host;
    const host::Module* module = nullptr;

  private:
    Answer Run(const std::string& step, ZEVAentry function, const host::CallInterface& interface,
               const host::ObjectReference& receiver, const std::vector<host::Parameter>& parameters,
               const std::vector<host::Value>& arguments);
};

// The object in a value; empty for nil and anything else.
host::ObjectReference ObjectIn(const host::Value& value);

// Whether a value is nil.
inline bool IsNil(const host::Value& value) { return std::holds_alternative<std::monostate>(value); }

// "Jug.Volume".
std::string MemberName(const host::Class& isa, const host::Member& member);

// Whether a member is a property, one that can be written, or the read-only companion that describes another property
// of the class; if so, DescribedProperty answers that one.
bool IsProperty(const host::Member& member);
bool IsWritable(const host::Member& member);
bool IsAttribute(const host::Member& member);
const host::Member* DescribedProperty(const host::Class& isa, const host::Member& attribute);

}  // namespace checker
