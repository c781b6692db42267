// recording_host.h - a host made for tests: it offers each service that the module under test uses, keeps its own
// simple objects, and logs every call that reaches it, in order.
//
// There is one log for everything. Recording Objective-C objects (recording_objects.h) write into it too, so that a
// test can compare the whole conversation of one call with the expected order.
//
// Faults:   a service can be missing, be missing for its first N lookups, and fail or throw at its Nth call.
// Lifetime: one host per test, which the services reach through a static pointer. A host made while another exists
//           replaces it until it is destroyed.
// Threads:  one.
// Adding a service: nothing. The services come from interface/services.def; a new one logs its calls and returns
//           null or 0 until it gets a ServiceEffect in recording_host.cpp.

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "interface/class_definition.h"
#include "interface/entry_point.h"
#include "interface/handles.h"
#include "interface/host_version.h"
#include "interface/services.h"
#include "interface/tables.h"
#include "interface/word.h"

// A host object of the tests: a header of the size that modules rely on, then room for the fields of any class.
struct ZEVAobjectStruct {
    const char* className;
    int references;
    unsigned char restOfHeader[kZEVAobjectHeaderSize - sizeof(const char*) - sizeof(int)];
    ZEVAword fields[8];
};

struct ZEVAstringStruct {
    std::string bytes;
    std::uint32_t encoding = 0;
    int references = 1;
};

// A MemoryBlock. A block is also an object, so its references are counted in the same place.
struct ZEVAmemoryBlockStruct {
    ZEVAobjectStruct object;
    std::int32_t size;
    void* bytes;
};

// The contents of a class record at its registration, whichever layout it had.
struct RegisteredClass {
    ZEVAclassDefinition* record;
    std::int32_t version;
    std::string name;
    std::string superclassName;
    std::vector<ZEVAmethodDownLevel> methods;
};

// An exception that the module had the host raise.
struct RaisedException {
    std::string className;
    std::optional<std::string> message;  // none when the property was set to null
    std::int32_t errorNumber = -1;
    std::uint32_t encoding = 0;
};

// What a message to a recording object raises. A handled exception is raised and caught inside the message.
enum class Raise { kNothing, kNSException, kOtherObject, kForeign, kHandled };

// What a service does; specialized in recording_host.cpp.
template <typename Listed>
struct ServiceEffect;
template <typename Listed, typename Signature>
struct RecordedService;

class RecordingHost {
  public:
    // How a service misbehaves.
    struct Fault {
        int missingLookups = 0;  // how many lookups return null first; kAlways for all
        int failingCall = 0;     // the call that returns null or 0, counted from 1; kAlways for all, 0 for none
        int throwingCall = 0;    // the call that throws a foreign exception, counted from 1; 0 for none
    };
    static constexpr int kAlways = -1;

    RecordingHost();
    ~RecordingHost();
    RecordingHost(const RecordingHost&) = delete;

    // The resolver for the module under test.
    [[nodiscard]] static ZEVAentry Resolve(const char* name);

    // Returns the log and starts a new one.
    std::vector<std::string> TakeLog();
    void Log(std::string line);
    int LookupsOf(const std::string& name) const;
    int CallsOf(const std::string& name) const;

    // A new object of the class with one reference, as PluginNewInstance returns it.
    ZEVAobjectStruct* NewObject(const char* className);
    ZEVAmemoryBlockStruct* NewBlock(std::int32_t size);

    service::Users users = service::Users::kFilterModule;  // whose services are offered
    std::optional<double> version = kNewestHostVersion;    // none: the host lacks ZEVAGetZVVersion
    std::map<std::string, Fault> faults;                   // by service name
    std::map<std::string, Raise> messageFaults;            // by log line: "[filter valueForKey:inputRadius]"
    std::set<std::string> nilReplies;                      // log lines of messages that reply nil, null or 0
    std::vector<std::string> unknownClasses;               // class names that PluginNewInstance refuses
    bool setsCoreFoundationTag = true;                     // whether new wrappers get their tag
    bool blocksHaveBytes = true;                           // whether memoryBlockGetPtr returns an address

    std::vector<std::int32_t> announcedVersions;
    std::vector<RegisteredClass> classes;
    std::vector<RaisedException> raised;
    std::vector<std::unique_ptr<ZEVAobjectStruct>> objects;
    std::vector<std::unique_ptr<ZEVAstringStruct>> strings;
    std::vector<std::unique_ptr<ZEVAmemoryBlockStruct>> blocks;
    std::optional<ZEVAword> stringLength;  // that the host says its strings have, instead of the true one
    int lentStrings = 0;                   // string bytes that have not been given back

    // Called for each object that the host makes, to set fields as a constructor might.
    void (*onNewObject)(ZEVAobjectStruct* made) = nullptr;

    // Called at each raise, before it returns to the module.
    void (*onRaise)(RecordingHost&) = nullptr;

    static RecordingHost& Current();

  private:
    template <typename Listed>
    friend struct ServiceEffect;
    template <typename Listed, typename Signature>
    friend struct RecordedService;

    // Logs the call; false when it is to fail.
    [[nodiscard]] bool Enter(const std::string& name, const std::string& arguments);

    RecordingHost* enclosing_;
    std::vector<std::string> log_;
    std::map<std::string, int> lookups_;
    std::map<std::string, int> calls_;
    std::map<const ZEVAobjectStruct*, RaisedException> exceptions_;
    std::vector<std::unique_ptr<std::vector<unsigned char>>> blockBytes_;
};

// A short name for the log: "CIImageQOR#1" for the first CIImageQOR that the host made, "null" for null.
std::string NameOf(const ZEVAobjectStruct* object);
std::string NameOf(const ZEVAstringStruct* string);
