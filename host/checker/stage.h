// stage.h - what a check works on: one host with the siblings and the checked module loaded, all of them watched.
//
// Calls into members go through the stage and never throw: an exception that the module raises is part of the result.
//
// Lifetime: made once per process and never destroyed, because the process ends after its check. So a module is not
//           blamed for what happens during a tear-down that real programs do not have.
// Threads:  the host's thread.

#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/checker/watch.h"
#include "host/runtime/host.h"

namespace checker {

// The module to check, and what it is loaded with.
struct CheckedModule {
    std::filesystem::path path;
    std::vector<std::filesystem::path> siblings;  // modules that are loaded beside it
    host::CallScope callScope;
    double hostVersion = host::HostOptions().version;
    std::filesystem::path sandbox;  // the private folder of a module that is kept away from the machine; empty if not
};

// What differs from a plain host in which every service works.
struct StageOptions {
    std::optional<double> hostVersion;  // replaces the version of the CheckedModule
    bool hasVersion = true;             // whether the host has the service that returns its version
    bool siblingsComeFirst = true;
    bool guardsBlocks = false;  // whether the bytes of MemoryBlocks end at a page that cannot be accessed
    std::map<std::string, ServiceFault> faults = {};
};

// What a call into the module returned, or the exception that it raised.
struct CallResult {
    host::Value value;
    host::ObjectReference raised;
    bool leftByException = false;  // whether a C++ or platform exception left the module

    [[nodiscard]] bool Succeeded() const { return !raised && !leftByException; }
};

class Stage {
  public:
    // Loads everything. Throws HostError when a module cannot be loaded.
    explicit Stage(const CheckedModule& checked, StageOptions options = {});

    // Returns the classes of the checked module that can have objects, in the order of their registration.
    [[nodiscard]] std::vector<const host::Class*> Classes();

    // Returns all classes of the host, including those of siblings.
    [[nodiscard]] const std::vector<const host::Class*>& AllClasses() { return host.Classes().All(); }

    // Creates an object. New also calls the constructor without parameters, if there is one. Both return an empty
    // reference when the module raised.
    host::ObjectReference New(const host::Class& isa);
    host::ObjectReference NewUnconstructed(const host::Class& isa);

    // Calls into the module. The class of the object has the member.
    CallResult Construct(const host::ObjectReference& object);
    CallResult Read(const host::ObjectReference& object, const host::Member& property);
    CallResult Write(const host::ObjectReference& object, const host::Member& property, const host::Value& value);
    CallResult Call(const host::ObjectReference& object, const host::Member& method,
                    const std::vector<host::Value>& arguments);
    CallResult CallShared(const host::Class& isa, const host::Member& method,
                          const std::vector<host::Value>& arguments);

    Watch watch;
    std::vector<std::string> messages;  // what the host reported
    host::Host host;
    const host::Module* module = nullptr;

  private:
    CallResult Run(const std::string& step, ZEVAentry function, const host::CallInterface& interface,
                   const host::ObjectReference& receiver, const std::vector<host::Parameter>& parameters,
                   const std::vector<host::Value>& arguments);
};

// Returns the object in a value; empty for nil and for other types.
[[nodiscard]] host::ObjectReference ObjectIn(const host::Value& value);

[[nodiscard]] inline bool IsNil(const host::Value& value) { return std::holds_alternative<std::monostate>(value); }

// Returns "Jug.Volume".
[[nodiscard]] std::string MemberName(const host::Class& isa, const host::Member& member);

[[nodiscard]] bool IsProperty(const host::Member& member);
[[nodiscard]] bool IsWritable(const host::Member& member);

// Whether a member is an attribute: a property named Attribute<key> whose type is an object. It describes the property
// <key>.
[[nodiscard]] bool IsAttribute(const host::Member& member);

// Returns the property that an attribute describes; null when its class has none of that name.
[[nodiscard]] const host::Member* DescribedProperty(const host::Class& isa, const host::Member& attribute);

}  // namespace checker
