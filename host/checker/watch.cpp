// watch.cpp - the wrapped services and what is written down of each call.

#include "host/checker/watch.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "host/checker/child.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/services.h"
#include "host/runtime/string.h"

namespace checker {

namespace {

Watch* current = nullptr;

// Every service that is wrapped, with its signature. Handles of MemoryBlocks are those of the objects that they are.
#define WATCHED_SERVICES(SERVICE)                                                            \
    SERVICE(RegisterPluginVersion, void(std::int32_t))                                       \
    SERVICE(ZEVAGetZVVersion, double())                                                      \
    SERVICE(PluginRegisterClass, void(ZEVAclassDefinition*))                                 \
    SERVICE(ZEVABuildString, ZEVAstringStruct*(const char*, std::int32_t))                   \
    SERVICE(ZEVASetStringEncoding, void(ZEVAstringStruct*, std::uint32_t))                   \
    SERVICE(PluginGetStringData, std::int32_t(ZEVAstringStruct*, ZEVAstringData*))           \
    SERVICE(PluginDisposeStringData, void(ZEVAstringData*))                                  \
    SERVICE(ZEVAUnlockString, void(ZEVAstringStruct*))                                       \
    SERVICE(PluginNewInstance, ZEVAobjectStruct*(const char*))                               \
    SERVICE(ZEVASetPropValueString, void(ZEVAobjectStruct*, const char*, ZEVAstringStruct*)) \
    SERVICE(ZEVASetPropValueInt, void(ZEVAobjectStruct*, const char*, std::int32_t))         \
    SERVICE(RuntimeRaiseException, void(ZEVAobjectStruct*))                                  \
    SERVICE(ZEVALockObject, void(ZEVAobjectStruct*))                                         \
    SERVICE(ZEVAUnlockObject, void(ZEVAobjectStruct*))                                       \
    SERVICE(newMemoryBlock, ZEVAobjectStruct*(std::int32_t))                                 \
    SERVICE(memoryBlockGetPtr, void*(ZEVAobjectStruct*))                                     \
    SERVICE(memoryBlockGetSize, std::int32_t(ZEVAobjectStruct*))

// One type per service, to tell the functions below apart.
#define DECLARE_TAG(name, signature)                \
    struct name {                                   \
        static constexpr const char* kName = #name; \
    };
namespace service {
WATCHED_SERVICES(DECLARE_TAG)
}
#undef DECLARE_TAG

// What must hold of handles before a service gets them; null is every service's own business.
bool IsKnown(Watch& watch, ZEVAobjectStruct* object) {
    if (object == nullptr || watch.objects.Knows(object)) return true;
    watch.AddBreach(Breach::kUnknownHandle, "an object handle that the host never gave");
    return false;
}
bool IsKnown(Watch& watch, ZEVAstringStruct* string) {
    if (string == nullptr || watch.strings.Knows(string)) return true;
    watch.AddBreach(Breach::kUnknownHandle, "a string handle that the host never gave");
    return false;
}
bool IsBlock(Watch& watch, ZEVAobjectStruct* object) {
    if (!IsKnown(watch, object)) return false;
    if (object == nullptr || object->isa->IsA("MemoryBlock")) return true;
    watch.AddBreach(Breach::kUnknownHandle, "a " + object->isa->Name() + " where a MemoryBlock is wanted");
    return false;
}
template <typename Handle>
bool IsHeld(Watch& watch, Ledger<Handle>& ledger, Handle* handle, Breach breach, const char* what) {
    if (!IsKnown(watch, handle)) return false;
    if (handle == nullptr || ledger.GiveUp(handle)) return true;
    watch.AddBreach(breach, std::string(what) + " given back of which the module holds no reference");
    return false;
}

// Whether a call may go on to the host; what it does to references is written down.
template <typename Tag, typename... Arguments>
bool Before(Watch&, Tag, Arguments...) {
    return true;
}
bool Before(Watch& watch, service::RegisterPluginVersion, std::int32_t version) {
    watch.announced.push_back(version);
    if (!watch.records.empty()) watch.announcedLate = true;
    return true;
}
bool Before(Watch& watch, service::PluginRegisterClass, ZEVAclassDefinition* definition) {
    watch.records.push_back(ReadRecord(definition));
    return watch.records.back().isReadable;
}
bool Before(Watch& watch, service::PluginNewInstance, const char* className) {
    if (!watch.lacksExceptionClasses || className == nullptr) return true;
    const bool isRegistered = host::Host::Current().Classes().Find(className) != nullptr;
    const bool isException = isRegistered && host::Host::Current().Classes().Linked(className).IsA("RuntimeException");
    return !isException || std::strcmp(className, "RuntimeException") == 0;
}
bool Before(Watch& watch, service::ZEVASetStringEncoding, ZEVAstringStruct* string, std::uint32_t) {
    return IsKnown(watch, string);
}
bool Before(Watch& watch, service::PluginGetStringData, ZEVAstringStruct* string, ZEVAstringData*) {
    return IsKnown(watch, string);
}
bool Before(Watch& watch, service::PluginDisposeStringData, ZEVAstringData* data) {
    if (data == nullptr || watch.TakeBackLent(data->bytes)) return true;
    watch.AddBreach(Breach::kStringNotLent, "string bytes given back that were not lent, or twice");
    return false;
}
bool Before(Watch& watch, service::ZEVAUnlockString, ZEVAstringStruct* string) {
    return IsHeld(watch, watch.strings, string, Breach::kStringNotHeld, "a string");
}
bool Before(Watch& watch, service::ZEVASetPropValueString, ZEVAobjectStruct* object, const char*,
            ZEVAstringStruct* value) {
    return IsKnown(watch, object) && IsKnown(watch, value);
}
bool Before(Watch& watch, service::ZEVASetPropValueInt, ZEVAobjectStruct* object, const char*, std::int32_t) {
    return IsKnown(watch, object);
}
bool Before(Watch& watch, service::RuntimeRaiseException, ZEVAobjectStruct* exception) {
    if (!IsKnown(watch, exception)) return false;
    if (exception != nullptr) watch.NoteRaise(exception);
    return true;
}
bool Before(Watch& watch, service::ZEVALockObject, ZEVAobjectStruct* object) {
    if (!IsKnown(watch, object)) return false;
    if (object != nullptr) watch.objects.Take(object);
    return true;
}
bool Before(Watch& watch, service::ZEVAUnlockObject, ZEVAobjectStruct* object) {
    const std::string what = object != nullptr && watch.objects.Knows(object) ? "a " + object->isa->Name() : "";
    return IsHeld(watch, watch.objects, object, Breach::kObjectNotHeld, what.c_str());
}
bool Before(Watch& watch, service::memoryBlockGetPtr, ZEVAobjectStruct* block) { return IsBlock(watch, block); }
bool Before(Watch& watch, service::memoryBlockGetSize, ZEVAobjectStruct* block) { return IsBlock(watch, block); }

// What a service has answered.
template <typename Tag, typename Result, typename... Arguments>
void After(Watch&, Tag, Result, Arguments...) {}
void After(Watch& watch, service::ZEVABuildString, ZEVAstringStruct* made, const char*, std::int32_t) {
    if (made != nullptr) watch.strings.Take(made);
}
void After(Watch& watch, service::PluginNewInstance, ZEVAobjectStruct* made, const char*) {
    if (made != nullptr) watch.objects.Take(made);
}
void After(Watch& watch, service::newMemoryBlock, ZEVAobjectStruct* made, std::int32_t) {
    if (made == nullptr) return;
    watch.objects.Take(made);
    if (watch.guardsBlocks) watch.Guard(made);
}
void After(Watch& watch, service::PluginGetStringData, std::int32_t lent, ZEVAstringStruct*, ZEVAstringData* data) {
    if (lent == 1) watch.NoteLent(data->bytes);
}

// A service as the module under examination gets it, or as a sibling does.
template <typename Tag, bool kIsModule, typename Signature>
struct Wrapped;
template <typename Tag, bool kIsModule, typename Result, typename... Arguments>
struct Wrapped<Tag, kIsModule, Result(Arguments...)> {
    // What a sibling announces and registers is its own business.
    static constexpr bool kIsExamined = kIsModule || !(std::is_same_v<Tag, service::RegisterPluginVersion> ||
                                                       std::is_same_v<Tag, service::PluginRegisterClass>);

    static Result Call(Arguments... arguments) {
        static const auto real = reinterpret_cast<Result (*)(Arguments...)>(host::ResolveService(Tag::kName));
        Watch& watch = *current;
        if (!watch.IsHostThread()) {
            watch.calledByOtherThread = Tag::kName;
            return Result();
        }
        if constexpr (kIsModule) {
            watch.NoteCall(Tag::kName);
        }
        if (watch.isOver || (kIsModule && watch.Fails(Tag::kName))) return Result();
        if (kIsExamined && !Before(watch, Tag(), arguments...)) return Result();
        if constexpr (std::is_void_v<Result>) {
            real(arguments...);
        } else {
            const Result result = real(arguments...);
            After(watch, Tag(), result, arguments...);
            return result;
        }
    }
};

// The wrapper of a service; null for a name that is none.
template <bool kIsModule>
ZEVAentry WrapperOf(const char* name) {
#define ANSWER(tag, signature)                       \
    if (std::strcmp(name, service::tag::kName) == 0) \
        return reinterpret_cast<ZEVAentry>(&Wrapped<service::tag, kIsModule, signature>::Call);
    WATCHED_SERVICES(ANSWER)
#undef ANSWER
    return nullptr;
}

// The services that only give something back.
bool GivesBack(std::string_view service) {
    return service == service::ZEVAUnlockObject::kName || service == service::ZEVAUnlockString::kName ||
           service == service::PluginDisposeStringData::kName;
}

}  // namespace

Watch::Watch() { current = this; }

Watch& Watch::Current() { return *current; }

ZEVAentry Watch::ResolveForModule(const char* name) { return current->Lookup(name); }

ZEVAentry Watch::ResolveForSibling(const char* name) {
    if (name == nullptr) return nullptr;
    if (!current->hasVersion && std::strcmp(name, service::ZEVAGetZVVersion::kName) == 0) return nullptr;
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
    const bool isMissing = (fault != faults_.end() && fault->second.isMissing) ||
                           (!hasVersion && std::strcmp(name, service::ZEVAGetZVVersion::kName) == 0);
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

bool Watch::Fails(const char* service) const {
    const auto fault = faults_.find(service);
    return fault != faults_.end() && fault->second.fails;
}

void Watch::NoteCall(const char* service) {
    if (isOver) return NoteStep(std::string("calling ") + service);
    ++calls[service];
    if (hasRaised_ && !GivesBack(service) && service != service::RuntimeRaiseException::kName) {
        raised.back().callsAfter.emplace_back(service);
    }
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
            AddBreach(Breach::kUnknownHandle, std::string(what) + " that the host never gave, as the answer");
            return false;
        }
        if (!ledger.GiveUp(handle)) {
            AddBreach(Breach::kAnswerNotHeld, std::string(what) + " of which the module holds no reference");
            host::Lock(handle);  // the one that the host is going to give back
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
            if (object->references != 1) continue;  // another one's end took it up again
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
