// watch.h - stands between a module and the host's services: records what the module does, and makes services fail on
// demand.
//
// Each service is wrapped by a function of the same signature. A call that breaks a rule is recorded and does not reach
// the host, so that it cannot crash the host and hide what follows.
//
// The module under examination and its siblings get the same wrappers, because references pass between them. Only the
// calls of the examined module are counted, and only its services can be made to fail.
//
// Lifetime: one Watch per process, as there is one Host.
// Threads:  the host's thread; a call from any other thread is recorded.
// Adding a service: nothing. The wrappers come from interface/services.def. A service that needs more than counting its
//           references gets a Rule in watch.cpp.

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/checker/ledger.h"
#include "host/checker/record.h"
#include "host/runtime/host.h"
#include "interface/entry_point.h"
#include "interface/handles.h"
#include "interface/services.h"

namespace checker {

// How a service misbehaves.
struct ServiceFault {
    bool isMissing = false;  // every lookup returns null
    bool fails = false;      // every call returns null, 0 or nothing
};

// The rules that a call across the boundary can break.
enum class Breach {
    kUnknownHandle,     // an object or string that the host never gave
    kObjectNotHeld,     // a reference to an object given back that the module did not hold
    kStringNotHeld,     // the same for a string
    kAnswerNotHeld,     // a result without a reference for the caller
    kStringNotLent,     // string bytes given back that were not lent
    kForeignException,  // a C++ or platform exception that left the module
};

struct BreachNote {
    Breach breach;
    std::string step;  // what the host was doing
    std::string got;
};

// An exception that the module had the host raise.
struct RaiseNote {
    std::string step;
    std::string className;
    bool isException = false;  // whether its class is RuntimeException or one below it
    std::optional<std::string> message;
    std::uint32_t encoding = 0;
    std::vector<std::string> callsAfter;  // services called before the module returned, except those that give back
    int raisedAgain = 0;                  // how many more times the module raised before it returned
};

// The lookups of one name by the module.
struct Lookups {
    int asked = 0;
    int askedAfterFound = 0;
    int missed = 0;
    int askedAfterFaults = 0;  // since the faults were removed
};

class Watch {
  public:
    Watch();

    // The resolvers for the modules.
    [[nodiscard]] static ZEVAentry ResolveForModule(const char* name);
    [[nodiscard]] static ZEVAentry ResolveForSibling(const char* name);

    // Begins a new call into the module.
    void BeginStep(const std::string& step);
    const std::string& Step() const { return step_; }

    // Sets the faults from now on, by service, and removes the previous ones.
    void SetFaults(std::map<std::string, ServiceFault> faults);

    // Takes the module's result, whose reference passes to the host. False when it is a handle that the host does not
    // know, which must not be used.
    [[nodiscard]] bool TakeAnswer(const host::Value& value);

    // Ends the objects and strings that only the ledgers still refer to.
    void Settle();

    // The references that modules hold to objects and strings, and the string bytes that they have not given back.
    int HeldReferences() const { return objects.Held() + strings.Held(); }
    std::size_t LentStrings() const { return lent_.size(); }

    // Frees the notes about breaches and exceptions.
    void ForgetNotes() {
        breaches = std::vector<BreachNote>();
        raised = std::vector<RaiseNote>();
    }

    void AddBreach(Breach breach, const std::string& got) { breaches.push_back({breach, step_, got}); }

    // What the module did.
    std::map<std::string, Lookups> lookups;
    int namelessLookups = 0;
    std::map<std::string, int> calls;  // by service
    std::vector<std::int32_t> announced;
    bool announcedLate = false;  // after a class had been registered
    std::vector<Record> records;
    std::vector<BreachNote> breaches;
    std::vector<RaiseNote> raised;
    std::atomic<const char*> calledByOtherThread = nullptr;  // the service that another thread called
    bool hasVersion = true;                                  // whether the host has ZEVAGetZVVersion
    bool guardsBlocks = false;                               // whether reading beyond a new block crashes
    bool lacksExceptionClasses = false;                      // whether RuntimeException is the only exception class
    bool isOver = false;                                     // whether the process is ending; no service works any more
    Ledger<ZEVAobjectStruct> objects;
    Ledger<ZEVAstringStruct> strings;

    // For the wrapped services.
    static Watch& Current();
    bool IsHostThread() const { return std::this_thread::get_id() == thread_; }
    void NoteCall(const char* name, service::Ownership ownership);
    [[nodiscard]] bool Fails(const char* name) const;
    void NoteRaise(ZEVAobjectStruct* exception);
    void NoteLent(void* bytes) { lent_.insert(bytes); }
    [[nodiscard]] bool TakeBackLent(void* bytes) { return lent_.erase(bytes) == 1; }

    // Moves a block's bytes to the end of a page, so that reading or writing beyond them crashes.
    void Guard(ZEVAobjectStruct* block);

  private:
    ZEVAentry Lookup(const char* name);
    void End(ZEVAobjectStruct* object);

    std::thread::id thread_ = std::this_thread::get_id();
    std::string step_;
    std::map<std::string, ServiceFault> faults_;
    std::set<void*> lent_;
    std::map<ZEVAobjectStruct*, unsigned char*> unguardedBytes_;
    bool hasRaised_ = false;  // in this step
};

}  // namespace checker
