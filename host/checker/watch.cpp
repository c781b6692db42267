// watch.cpp - the wrapped services, and what is recorded of each call.
//
// Every wrapper is expanded from interface/services.def. What a service does to references follows from its row there.
// The few services that need more have a rule of their own below.

#include "host/checker/watch.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <type_traits>
#include <utility>

#include "host/checker/child.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/services.h"
#include "host/runtime/string.h"
#include "interface/services.h"

namespace checker {

namespace {

Watch* current = nullptr;

ZEVAobjectStruct* ObjectOf(ZEVAmemoryBlockStruct* block) { return reinterpret_cast<ZEVAobjectStruct*>(block); }

// ---- References

// Whether the host may get the argument: a handle must be one that the host gave, or null, which each service handles
// itself. There is one overload for each type that a service takes.
bool Accepts(Watch&, std::int32_t) { return true; }
bool Accepts(Watch&, std::uint32_t) { return true; }
bool Accepts(Watch&, const char*) { return true; }
bool Accepts(Watch&, ZEVAclassDefinition*) { return true; }
bool Accepts(Watch&, ZEVAstringData*) { return true; }
bool Accepts(Watch& watch, ZEVAobjectStruct* object) {
    if (object == nullptr || watch.objects.Knows(object)) return true;
    watch.AddBreach(Breach::kUnknownHandle, "an object handle that the host never gave");
    return false;
}
bool Accepts(Watch& watch, ZEVAstringStruct* string) {
    if (string == nullptr || watch.strings.Knows(string)) return true;
    watch.AddBreach(Breach::kUnknownHandle, "a string handle that the host never gave");
    return false;
}
bool Accepts(Watch& watch, ZEVAmemoryBlockStruct* block) {
    ZEVAobjectStruct* object = ObjectOf(block);
    if (!Accepts(watch, object)) return false;
    if (object == nullptr || object->isa->IsA("MemoryBlock")) return true;
    watch.AddBreach(Breach::kUnknownHandle, "a " + object->isa->Name() + " where a MemoryBlock is expected");
    return false;
}

// Records one more reference that modules hold.
void Take(Watch& watch, ZEVAobjectStruct* object) {
    if (object != nullptr) watch.objects.Take(object);
}
void Take(Watch& watch, ZEVAstringStruct* string) {
    if (string != nullptr) watch.strings.Take(string);
}
void Take(Watch& watch, ZEVAmemoryBlockStruct* block) { Take(watch, ObjectOf(block)); }

// Records that a module gives a reference back; false when modules hold none.
bool Drop(Watch& watch, ZEVAobjectStruct* object) {
    if (object == nullptr || watch.objects.GiveUp(object)) return true;
    watch.AddBreach(Breach::kObjectNotHeld,
                    "a " + object->isa->Name() + " given back although the module holds no reference to it");
    return false;
}
bool Drop(Watch& watch, ZEVAstringStruct* string) {
    if (string == nullptr || watch.strings.GiveUp(string)) return true;
    watch.AddBreach(Breach::kStringNotHeld, "a string given back although the module holds no reference to it");
    return false;
}

// ---- Rules

// What the watch does for one service beyond counting references. Either function may be absent:
//
//   static bool Before(Watch&, ARGUMENTS...)           whether the call goes on to the host
//   static void After(Watch&, RESULT, ARGUMENTS...)    sees what the host returned
//
// Their types must match the service's signature exactly.
template <typename Listed>
struct Rule {};

template <>
struct Rule<service::RegisterPluginVersion> {
    static bool Before(Watch& watch, std::int32_t recordVersion) {
        watch.announced.push_back(recordVersion);
        if (!watch.records.empty()) watch.announcedLate = true;
        return true;
    }
};

template <>
struct Rule<service::PluginRegisterClass> {
    static bool Before(Watch& watch, ZEVAclassDefinition* definition) {
        watch.records.push_back(ReadRecord(definition));
        return watch.records.back().isReadable;
    }
};

template <>
struct Rule<service::PluginNewInstance> {
    static bool Before(Watch& watch, const char* className) {
        if (!watch.lacksExceptionClasses || className == nullptr) return true;
        host::ClassRegistry& classes = host::Host::Current().Classes();
        const bool isException =
            classes.Find(className) != nullptr && classes.Linked(className).IsA("RuntimeException");
        return !isException || std::strcmp(className, "RuntimeException") == 0;
    }
};

template <>
struct Rule<service::PluginGetStringData> {
    static void After(Watch& watch, std::int32_t lent, ZEVAstringStruct*, ZEVAstringData* data) {
        if (lent == 1) watch.NoteLent(data->bytes);
    }
};

template <>
struct Rule<service::PluginDisposeStringData> {
    static bool Before(Watch& watch, ZEVAstringData* data) {
        if (data == nullptr || watch.TakeBackLent(data->bytes)) return true;
        watch.AddBreach(Breach::kStringNotLent, "string bytes given back that were not lent, or given back twice");
        return false;
    }
};

template <>
struct Rule<service::RuntimeRaiseException> {
    static bool Before(Watch& watch, ZEVAobjectStruct* exception) {
        if (exception != nullptr) watch.NoteRaise(exception);
        return true;
    }
};

template <>
struct Rule<service::newMemoryBlock> {
    static void After(Watch& watch, ZEVAmemoryBlockStruct* made, std::int32_t) {
        if (made != nullptr && watch.guardsBlocks) watch.Guard(ObjectOf(made));
    }
};

// Whether a call goes on to the host; records what it does to references.
template <typename Listed, typename... Arguments>
bool Begin(Watch& watch, Arguments... arguments) {
    if (!(Accepts(watch, arguments) && ...)) return false;
    if constexpr (Listed::kOwnership == service::Ownership::kAddsReference) Take(watch, arguments...);
    if constexpr (Listed::kOwnership == service::Ownership::kDropsReference) {
        if (!Drop(watch, arguments...)) return false;
    }
    if constexpr (requires { &Rule<Listed>::Before; }) {
        constexpr bool (*before)(Watch&, Arguments...) = &Rule<Listed>::Before;
        return before(watch, arguments...);
    }
    return true;
}

// Records what the host returned.
template <typename Listed, typename Result, typename... Arguments>
void End(Watch& watch, Result result, Arguments... arguments) {
    if constexpr (Listed::kOwnership == service::Ownership::kGivesReference) Take(watch, result);
    if constexpr (requires { &Rule<Listed>::After; }) {
        constexpr void (*after)(Watch&, Result, Arguments...) = &Rule<Listed>::After;
        after(watch, result, arguments...);
    }
}

// ---- Wrappers

// A service as the module under examination gets it, or as a sibling does.
template <typename Listed, bool kIsModule, typename Signature = typename Listed::Signature>
struct Wrapped;
template <typename Listed, bool kIsModule, typename Result, typename... Arguments>
struct Wrapped<Listed, kIsModule, Result(Arguments...)> {
    // What a sibling announces and registers is not examined.
    static constexpr bool kIsExamined = kIsModule || !(std::is_same_v<Listed, service::RegisterPluginVersion> ||
                                                       std::is_same_v<Listed, service::PluginRegisterClass>);

    static Result Call(Arguments... arguments) {
        static auto* const real = service::Resolve<Listed>(&host::ResolveService);
        Watch& watch = *current;
        if (!watch.IsHostThread()) {
            watch.calledByOtherThread = Listed::kName;
            return Result();
        }
        if constexpr (kIsModule) {
            watch.NoteCall(Listed::kName, Listed::kOwnership);
        }
        if (watch.isOver || (kIsModule && watch.Fails(Listed::kName))) return Result();
        if (kIsExamined && !Begin<Listed>(watch, arguments...)) return Result();
        if constexpr (std::is_void_v<Result>) {
            real(arguments...);
        } else {
            const Result result = real(arguments...);
            End<Listed, Result>(watch, result, arguments...);
            return result;
        }
    }
};

// The wrapper of a service; null for an unknown name.
template <bool kIsModule>
ZEVAentry WrapperOf(const char* name) {
#define SERVICE(listed, ...)                            \
    if (std::strcmp(name, service::listed::kName) == 0) \
        return reinterpret_cast<ZEVAentry>(&Wrapped<service::listed, kIsModule>::Call);
#include "interface/services.def"
    return nullptr;
}

bool IsVersionGetter(const char* name) { return std::strcmp(name, service::ZEVAGetZVVersion::kName) == 0; }

}  // namespace

Watch::Watch() { current = this; }

Watch& Watch::Current() { return *current; }

ZEVAentry Watch::ResolveForModule(const char* name) { return current->Lookup(name); }

ZEVAentry Watch::ResolveForSibling(const char* name) {
    if (name == nullptr) return nullptr;
    if (!current->hasVersion && IsVersionGetter(name)) return nullptr;
    return WrapperOf<false>(name);
}

ZEVAentry Watch::Lookup(const char* name) {
    if (name == nullptr || name[0] == '\0') {
        ++namelessLookups;
        return nullptr;
    }
    if (!IsHostThread()) {
        calledByOtherThread = "the resolver";
        return nullptr;
    }
    Lookups& noted = lookups[name];
    if (noted.asked > noted.missed) ++noted.askedAfterFound;
    ++noted.asked;
    if (faults_.empty()) ++noted.askedAfterFaults;
    const auto fault = faults_.find(name);
    const bool isMissing =
        (fault != faults_.end() && fault->second.isMissing) || (!hasVersion && IsVersionGetter(name));
    const ZEVAentry entry = isMissing ? nullptr : WrapperOf<true>(name);
    if (entry == nullptr) ++noted.missed;
    return entry;
}

void Watch::BeginStep(const std::string& step) {
    step_ = step;
    hasRaised_ = false;
    NoteStep(step);
}

void Watch::SetFaults(std::map<std::string, ServiceFault> faults) {
    faults_ = std::move(faults);
    for (auto& [name, noted] : lookups) noted.askedAfterFaults = 0;
}

bool Watch::Fails(const char* name) const {
    const auto fault = faults_.find(name);
    return fault != faults_.end() && fault->second.fails;
}

void Watch::NoteCall(const char* name, service::Ownership ownership) {
    if (isOver) return NoteStep(std::string("calling ") + name);
    checker::NoteCall(name);
    ++calls[name];
    const bool givesBack =
        ownership == service::Ownership::kDropsReference || ownership == service::Ownership::kTakesBackBytes;
    const bool raisesAgain = std::strcmp(name, service::RuntimeRaiseException::kName) == 0;
    if (hasRaised_ && !givesBack && !raisesAgain) raised.back().callsAfter.emplace_back(name);
}

void Watch::NoteRaise(ZEVAobjectStruct* exception) {
    if (hasRaised_) {
        ++raised.back().raisedAgain;
        return;
    }
    hasRaised_ = true;
    RaiseNote note{.step = step_, .className = exception->isa->Name(), .message = {}, .callsAfter = {}};
    note.isException = exception->isa->IsA("RuntimeException");
    if (note.isException) {
        const host::Value message = host::Host::Current().Get(exception, "Message");
        if (const auto* text = std::get_if<host::StringReference>(&message)) {
            note.message = (*text)->bytes;
            note.encoding = (*text)->encoding;
        }
    }
    raised.push_back(std::move(note));
}

bool Watch::TakeAnswer(const host::Value& value) {
    const auto take = [&](auto& ledger, auto* handle, const char* what) {
        if (!ledger.Knows(handle)) {
            AddBreach(Breach::kUnknownHandle, std::string(what) + " that the host never gave, as the result");
            return false;
        }
        if (!ledger.GiveUp(handle)) {
            AddBreach(Breach::kAnswerNotHeld, std::string(what) + " to which the module holds no reference");
            host::Lock(handle);  // the host will drop this one
        }
        return true;
    };
    if (const auto* object = std::get_if<host::ObjectReference>(&value))
        return take(objects, object->Get(), "an object");
    if (const auto* string = std::get_if<host::StringReference>(&value))
        return take(strings, string->Get(), "a string");
    return true;
}

void Watch::Settle() {
    for (bool hasEnded = true; hasEnded;) {
        hasEnded = false;
        for (ZEVAstringStruct* string : strings.Abandoned()) strings.End(string);
        for (ZEVAobjectStruct* object : objects.Abandoned()) {
            if (object->references != 1) continue;  // ending another object took a reference to it
            End(object);
            hasEnded = true;
        }
    }
}

void Watch::End(ZEVAobjectStruct* object) {
    BeginStep("ending a " + object->isa->Name());
    const auto unguarded = unguardedBytes_.find(object);
    if (unguarded != unguardedBytes_.end()) {
        reinterpret_cast<ZEVAmemoryBlockStruct*>(object)->bytes = unguarded->second;
        unguardedBytes_.erase(unguarded);
    }
    objects.End(object);
}

void Watch::Guard(ZEVAobjectStruct* object) {
    auto* block = reinterpret_cast<ZEVAmemoryBlockStruct*>(object);
    if (block->size == 0) return;
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const auto size = static_cast<std::size_t>(block->size);
    const std::size_t pages = (size + page - 1) / page * page;
    void* memory = mmap(nullptr, pages + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return;
    auto* wall = static_cast<unsigned char*>(memory) + pages;
    mprotect(wall, page, PROT_NONE);
    std::memcpy(wall - size, block->bytes, size);
    unguardedBytes_[object] = block->bytes;
    block->bytes = wall - size;
}

}  // namespace checker
