// watch.h - stands between a module and the host's services: writes down what the module does, and has services fail on
// demand.
//
// Each service is wrapped by a function of the same signature. A call that breaks a rule is written down and goes no
// further, so that it cannot bring the host down and hide what comes after it.
//
// The module under examination and its siblings are wrapped alike, since references pass between them; but only the
// calls of the former are counted, and only it meets faults.
//
// Lifetime: one Watch per process, as there is one Host.
// Threads:  the host's thread; a call from another is written down.
// Adding a service: a line in WATCHED_SERVICES (watch.cpp), and what it does to references.

#pragma once

#include <atomic>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/checker/ledger.h"
#include "host/checker/record.h"
#include "host/runtime/host.h"

namespace checker {

// How one service behaves, beside working.
struct ServiceFault {
    bool isMissing = false;  // every lookup answers null
    bool fails = false;      // every call answers null, 0 or nothing
};

// The rules that a call across the boundary can break.
enum class Breach {
    kUnknownHandle,     // an object or string that the host never gave
    kObjectNotHeld,     // an object's reference given back that the module did not hold
    kStringNotHeld,     // the same of a string
    kAnswerNotHeld,     // an answer that comes without a reference for the caller
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
    std::vector<std::string> callsAfter;  // services called before the module returned, those that give back excepted
    int raisedAgain = 0;                  // how often the module raised before it returned, beyond the first time
};

// What the module asked of the resolver under one name.
struct Lookups {
    int asked = 0;
    int askedAfterFound = 0;
    int missed = 0;
    int askedAfterFaults = 0;  // since the faults ended
};

class Watch {
  public:
    Watch();

    // The resolvers to hand out.
    static ZEVAentry ResolveForModule(const char* name);
    static ZEVAentry ResolveForSibling(const char* name);

    // A new call into the module begins.
    void BeginStep(const std::string& step);
    const std::string& Step() const { return step_; }

    // Faults from now on, by service; a further call replaces them.
    void SetFaults(std::map<std::string, ServiceFault> faults);

    // Takes what the module has answered, whose reference passes to the host. False when it is nothing that the host
    // knows; it must not be touched then.
    bool TakeAnswer(const host::Value& value);

    // Ends what nobody refers to any more.
    void Settle();

    // References that modules hold to objects and strings; string bytes that they have not given back.
    int HeldReferences() const { return objects.Held() + strings.Held(); }
    std::size_t LentStrings() const { return lent_.size(); }

    // Gives up the memory of what was written down of breaches and exceptions.
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
    std::atomic<const char*> calledByOtherThread = nullptr;  // a service
    bool hasVersion = true;                                  // whether the host has a version to tell
    bool guardsBlocks = false;                               // whether blocks end where memory does
    bool lacksExceptionClasses = false;                      // whether RuntimeException is the only exception class
    bool isOver = false;                                     // whether the process ends; no service works any more
    Ledger<ZEVAobjectStruct> objects;
    Ledger<ZEVAstringStruct> strings;

    // What the services tell.
    static Watch& Current();
    bool IsHostThread() const { return std::this_thread::get_id() == thread_; }
    void NoteCall(const char* service);
    bool Fails(const char* service) const;
    void NoteRaise(ZEVAobjectStruct* exception);
    void NoteLent(void* bytes) { lent_.insert(bytes); }
    bool TakeBackLent(void* bytes) { return lent_.erase(bytes) == 1; }

    // Moves a block's bytes so that whoever reads or writes beyond them crashes.
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
