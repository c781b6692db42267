// recording_host.h - a host made for tests: it offers the sixteen services, keeps its own simple objects, and writes
// down every call that reaches it, in order.
//
// One log for everything: recording Objective-C objects (recording_objects.h) write into it too, so that a test
// compares the whole conversation of one call with the order that it must have.
//
// Faults: a service can be missing, missing for its first N lookups, or fail at its Nth call.
// Lifetime: one host per test, reached by the services through a static pointer; a host made inside another stands in
// for it. Threads:  one.

#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plugin/zeva.h"

// A host object of the tests: a header of the size that modules count on, then room for any class's fields.
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

// A MemoryBlock; a block is an object too, so its references are counted in the same place.
struct ZEVAmemoryBlockStruct {
    ZEVAobjectStruct object;
    std::int32_t size;
    void* bytes;
};

// A class as it stood in the record at the moment of its registration, whichever layout the record had.
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

// What a message of a recording object raises.
enum class Raise { kNothing, kNSException, kOtherObject, kForeign };

class RecordingHost {
  public:
    // How one service behaves, beside working.
    struct Fault {
        int missingLookups = 0;  // how many lookups answer null; kAlways for every one
        int failingCall = 0;     // which call answers null or 0, counted from 1; kAlways for every one; 0 for none
    };
    static constexpr int kAlways = -1;

    RecordingHost();
    ~RecordingHost();
    RecordingHost(const RecordingHost&) = delete;

    // The resolver to hand to a module.
    static ZEVAentry Resolve(const char* name);

    // Starts a new log, and answers what the old one held.
    std::vector<std::string> TakeLog();
    void Log(std::string line);
    int LookupsOf(const std::string& name) const;
    int CallsOf(const std::string& name) const;

    // A host object of the class, with one reference, as PluginNewInstance makes it.
    ZEVAobjectStruct* NewObject(const char* className);
    ZEVAmemoryBlockStruct* NewBlock(std::int32_t size);

    std::optional<double> version = 2013.03;     // none: the host has no version getter
    std::map<std::string, Fault> faults;         // by entry name
    std::map<std::string, Raise> messageFaults;  // by log line: "[filter valueForKey:inputRadius]"
    std::vector<std::string> unknownClasses;     // names that PluginNewInstance refuses
    bool setsCoreFoundationTag = true;           // whether the wrapper family's constructor does its part
    bool blocksHaveBytes = true;                 // whether memoryBlockGetPtr finds anything

    std::vector<std::int32_t> announcedVersions;
    std::vector<RegisteredClass> classes;
    std::vector<RaisedException> raised;
    std::vector<std::unique_ptr<ZEVAobjectStruct>> objects;
    std::vector<std::unique_ptr<ZEVAstringStruct>> strings;
    std::vector<std::unique_ptr<ZEVAmemoryBlockStruct>> blocks;

    // Runs for every object that the host makes: what a constructor may leave in the fields.
    void (*onNewObject)(ZEVAobjectStruct* made) = nullptr;

    // Runs at every raise, while the module waits; a test can look at the state at that moment.
    void (*onRaise)(RecordingHost&) = nullptr;

    static RecordingHost& Current();

  private:
    friend struct Services;

    // Writes the call down; false when it is to fail.
    bool Enter(const std::string& name, const std::string& arguments);

    RecordingHost* enclosing_;
    std::vector<std::string> log_;
    std::map<std::string, int> lookups_;
    std::map<std::string, int> calls_;
    std::map<const ZEVAobjectStruct*, RaisedException> exceptions_;
    std::vector<std::unique_ptr<std::vector<unsigned char>>> blockBytes_;
};

// A short name for the log: "CIImageQOR#1" for the first object that the host made, "null" for none.
std::string NameOf(const ZEVAobjectStruct* object);
std::string NameOf(const ZEVAstringStruct* string);
