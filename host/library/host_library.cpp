// host_library.cpp - the functions of zeva/host.h over the runtime.
//
// Each one is a guarded piece of work: it runs under the session's lock, and what the runtime throws becomes the status
// and the thread's latest error.

#include <dlfcn.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/description/class_description.h"
#include "host/description/names.h"
#include "host/library/handles.h"
#include "host/library/session.h"
#include "host/library/values.h"
#include "host/program/platform_pool.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/declaration.h"
#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/string.h"
#include "zeva/host.h"

namespace {

using host::Class;
using host::Host;
using host::HostError;
using host::HostException;
using host::Member;
using host::MemberKind;
using host::ObjectReference;
using host::OutOfMemory;
using host::Value;
using host::library::HandleOf;
using host::library::MemberHandle;
using host::library::Session;
using host::library::Store;
using host::library::ValueOf;
using host::library::ValuesOf;

// Other languages declare these structures by hand: they are as wide as their fields on both widths.
constexpr std::size_t kWord = sizeof(void*);
static_assert(offsetof(ZevaValue, as) == 8 && offsetof(ZevaValue, isa) == 16 && sizeof(ZevaValue) == 16 + 2 * kWord);
static_assert(sizeof(ZevaType) == 3 * kWord && sizeof(ZevaParameter) == 5 * kWord);
static_assert(offsetof(ZevaMember, kind) == 3 * kWord && sizeof(ZevaMember) == 7 * kWord + 16);
static_assert(offsetof(ZevaClass, recordVersion) == 4 * kWord && sizeof(ZevaClass) == 5 * kWord + 8);
static_assert(sizeof(ZevaError) == 8 + 2 * kWord);
static_assert(offsetof(ZevaHostOptions, report) == 8 + kWord && sizeof(ZevaHostOptions) == 8 + 3 * kWord);

// The latest error of a thread, with its texts.
struct ThreadError {
    ZevaError error = {kZevaDone, 0, "", ""};
    std::string className;
    std::string message;
};

thread_local ThreadError latest;

ZevaStatus Fail(ZevaStatus status, const char* message, int number = 0, const std::string& className = {}) {
    latest.className = className;
    latest.message = message;
    latest.error = {status, number, latest.className.c_str(), latest.message.c_str()};
    return status;
}

// Runs the work of a function under the lock. What it throws becomes the status and the thread's error.
template <typename Work>
ZevaStatus Locked(Work work) {
    Session& session = Session::Current();
    if (session.IsForked()) {
        return Fail(kZevaForked,
                    "host: it belongs to the process that this one was forked from, and its threads are missing here; "
                    "start a new process instead of forking this one");
    }
    const Session::Call call(session);
    try {
        work(session);
        return kZevaDone;
    } catch (const HostException& exception) {
        return Fail(kZevaRaised, exception.what(), exception.ErrorNumber(), exception.ClassName());
    } catch (const OutOfMemory& error) {
        return Fail(kZevaOutOfMemory, error.what());
    } catch (const HostError& error) {
        return Fail(kZevaRefused, error.what(), error.ErrorNumber());
    } catch (const std::bad_alloc&) {
        return Fail(kZevaOutOfMemory, "host: out of memory");
    } catch (const std::exception& error) {
        return Fail(kZevaRefused, error.what());
    }
}

// The same for work that needs the host.
template <typename Work>
ZevaStatus WithHost(Work work) {
    return Locked([&](Session& session) {
        if (session.host == nullptr) throw HostError("host", "there is none, ZevaOpenHost makes it");
        work(session, *session.host);
    });
}

// The folder of the built modules, beside the folder of this library.
std::filesystem::path ModuleFolder() {
    Dl_info library = {};
    dladdr(reinterpret_cast<const void*>(&ZevaOpenHost), &library);
    const std::filesystem::path file = std::filesystem::canonical(library.dli_fname);
    return file.parent_path().parent_path() / "modules";
}

// Loads the built modules, and those that the environment names.
void LoadUsualModules(Host& host) {
    for (const char* name : {"companion.so", "filters.so"}) host.LoadModule(ModuleFolder() / name);
    for (const std::filesystem::path& module : host::ModulesOfEnvironment()) host.LoadModule(module);
}

// The members of a class that belong to the class itself, or to its objects.
const std::vector<Member>& (Class::*MembersOf(bool isShared))() const {
    return isShared ? &Class::SharedMembers : &Class::Members;
}

// A member that is used, the class that messages name, and the object; null for a shared member.
struct Use {
    const Class& isa;
    const Member& member;
    ZevaObject* receiver;
};

// Checks that a member is of a kind and belongs to the object.
Use UseOf(ZevaObject* object, const ZevaMember* used, MemberKind kind) {
    if (used == nullptr) throw HostError("host", "the member is null");
    const MemberHandle& handle = HandleOf(used);
    // Made when there is something to say: numbers are set by the million.
    const auto subject = [&] { return std::string(handle.isa->name) + "." + handle.name; };
    if (handle.member->declaration.kind != kind) {
        throw HostError(subject(), kind == MemberKind::kProperty ? "it is a method, not a property"
                                                                 : "it is a property, not a method");
    }
    if (handle.isShared != 0) return {*handle.declaring, *handle.member, nullptr};
    if (object == nullptr) throw HostError(subject(), "there is no object");
    for (const Class* each = object->isa; each != nullptr; each = each->Superclass()) {
        if (each == handle.declaring) return {*object->isa, *handle.member, object};
    }
    throw HostError(subject(),
                    "expected an object of the class " + handle.declaring->Name() + ", got " + object->isa->Name());
}

void SetProperty(Host& host, ZevaObject* object, const ZevaMember* property, const Value& value) {
    const Use use = UseOf(object, property, MemberKind::kProperty);
    host.SetMember(use.isa, use.member, use.receiver, value);
}

void Clear(ZevaValue* result) {
    if (result != nullptr) *result = {};
}

}  // namespace

// ---- Host and modules

ZevaStatus ZevaOpenHost(const ZevaHostOptions* options) {
    return Locked([&](Session& session) {
        if (session.host != nullptr) throw HostError("host", "this process already has one");
        const ZevaHostOptions chosen = options != nullptr ? *options : ZevaHostOptions{};
        host::HostOptions hostOptions = {.callScope = PlatformPool(), .failures = PlatformFailures()};
        if (chosen.version != 0) hostOptions.version = chosen.version;
        if (chosen.report != nullptr) {
            hostOptions.report = [report = chosen.report, context = chosen.reportContext](const std::string& message) {
                report(message.c_str(), context);
            };
        }
        session.WatchForks();
        session.host = std::make_unique<Host>(std::move(hostOptions));
        if (chosen.hasNoModules == 0) LoadUsualModules(*session.host);
    });
}

ZevaStatus ZevaCloseHost() {
    return WithHost([](Session& session, Host& host) {
        if (host.LiveObjects() != 0 || host.LiveStrings() != 0) {
            throw HostError("host", std::to_string(host.LiveObjects()) + " objects and " +
                                        std::to_string(host.LiveStrings()) +
                                        " texts are still referenced; the host remains");
        }
        session.handles.Clear();
        session.host.reset();
    });
}

ZevaStatus ZevaLoadModule(const char* path) {
    return WithHost([&](Session&, Host& host) {
        if (path == nullptr) throw HostError("module", "the path is null");
        host.LoadModule(path);
    });
}

const ZevaError* ZevaLastError() { return &latest.error; }

ZevaStatus ZevaCountReferences(int64_t* objects, int64_t* texts) {
    return WithHost([&](Session&, Host& host) {
        if (objects != nullptr) *objects = host.LiveObjects();
        if (texts != nullptr) *texts = host.LiveStrings();
    });
}

// ---- Classes and members

const ZevaClass* ZevaNextClass(const ZevaClass* previous) {
    const ZevaClass* next = nullptr;
    (void)WithHost([&](Session& session, Host& host) {
        bool isNext = previous == nullptr;
        for (const Class* isa : host.Classes().All()) {
            const ZevaClass* each = &session.handles.Of(host, *isa);
            if (isNext) {
                next = each;
                return;
            }
            isNext = each == previous;
        }
    });
    return next;
}

ZevaStatus ZevaFindClass(const char* name, const ZevaClass** result) {
    *result = nullptr;
    return WithHost([&](Session& session, Host& host) {
        *result = &session.handles.Of(host, ClassSpelled(host, name != nullptr ? name : ""));
    });
}

ZevaStatus ZevaFindMember(const ZevaClass* isa, const char* name, int32_t isShared, const ZevaMember** result) {
    *result = nullptr;
    return WithHost([&](Session& session, Host& host) {
        if (isa == nullptr) throw HostError("host", "the class is null");
        *result = &session.handles.Of(
            host, MemberSpelled(*HandleOf(isa).isaClass, name != nullptr ? name : "", MembersOf(isShared != 0)));
    });
}

ZevaStatus ZevaDescribeClass(const ZevaClass* isa, ZevaValue* result) {
    Clear(result);
    return WithHost([&](Session& session, Host& host) {
        if (isa == nullptr) throw HostError("host", "the class is null");
        const ClassDescription description = DescribeClass(host, *HandleOf(isa).isaClass);
        host::Json json = ToJson(description);
        host::Json facts = host::Json::MakeObject();
        for (const PropertyDescription& property : description.properties) facts[property.name] = FactsText(property);
        json["facts"] = facts;
        Store(session, host::TextValue(json.Dump()), result);
    });
}

// ---- Objects

ZevaStatus ZevaConstruct(const ZevaClass* isa, const ZevaValue* arguments, int32_t count, ZevaObject** result) {
    *result = nullptr;
    return WithHost([&](Session&, Host& host) {
        if (isa == nullptr) throw HostError("host", "the class is null");
        *result = host.Construct(isa->name, ValuesOf(arguments, count, isa->name)).Leak();
    });
}

ZevaStatus ZevaGet(ZevaObject* object, const ZevaMember* property, ZevaValue* result) {
    Clear(result);
    return WithHost([&](Session& session, Host& host) {
        const Use use = UseOf(object, property, MemberKind::kProperty);
        Store(session, host.GetMember(use.isa, use.member, use.receiver), result);
    });
}

ZevaStatus ZevaSet(ZevaObject* object, const ZevaMember* property, const ZevaValue* value) {
    return WithHost([&](Session&, Host& host) {
        if (value == nullptr) throw HostError("host", "the value is null");
        SetProperty(host, object, property, ValueOf(*value, property != nullptr ? property->name : "host"));
    });
}

ZevaStatus ZevaSetNumber(ZevaObject* object, const ZevaMember* property, double number) {
    return WithHost([&](Session&, Host& host) { SetProperty(host, object, property, number); });
}

ZevaStatus ZevaCall(ZevaObject* object, const ZevaMember* method, const ZevaValue* arguments, int32_t count,
                    ZevaValue* result) {
    Clear(result);
    return WithHost([&](Session& session, Host& host) {
        const Use use = UseOf(object, method, MemberKind::kMethod);
        const std::vector<Value> values = ValuesOf(arguments, count, method->name);
        Store(session, host.CallMember(use.isa, use.member, use.receiver, values), result);
    });
}

const ZevaClass* ZevaClassOf(const ZevaObject* object) {
    const ZevaClass* isa = nullptr;
    if (object == nullptr) return nullptr;
    (void)WithHost([&](Session& session, Host& host) { isa = &session.handles.Of(host, *object->isa); });
    return isa;
}

void ZevaRetain(ZevaObject* object) {
    (void)WithHost([&](Session&, Host&) { host::Lock(object); });
}

void ZevaRelease(ZevaObject* object) {
    Session& session = Session::Current();
    if (object != nullptr && !session.IsForked()) session.Release(ObjectReference::Adopt(object));
}

void ZevaReleaseValue(ZevaValue* value) {
    if (value == nullptr) return;
    Session& session = Session::Current();
    if (value->kind == kZevaObject) ZevaRelease(value->as.object);
    if (value->owner != nullptr && !session.IsForked()) {
        session.Release(host::StringReference::Adopt(static_cast<ZEVAstringStruct*>(value->owner)));
    }
    *value = {};
}

// ---- Texts and bytes as values

ZevaStatus ZevaValueFromText(const char* typeWord, const char* text, const char* subject, ZevaValue* result) {
    Clear(result);
    return WithHost([&](Session& session, Host& host) {
        const std::string word = typeWord != nullptr ? typeWord : "";
        const host::Type type = host::ParseDeclaration("value as " + word).result;
        Store(session, SettingValue(host, type, subject != nullptr ? subject : word, text != nullptr ? text : ""),
              result);
    });
}

ZevaStatus ZevaNewBlock(const void* bytes, int64_t size, ZevaForget forget, void* context, ZevaObject** result) {
    *result = nullptr;
    return WithHost([&](Session&, Host&) {
        if (size < 0 || size > INT32_MAX) {
            throw HostError("MemoryBlock", "a block has at most 2147483647 bytes, got " + std::to_string(size));
        }
        const auto count = static_cast<std::int32_t>(size);
        ObjectReference block;
        if (forget != nullptr) {
            block = host::NewMemoryBlockOver(const_cast<void*>(bytes), count, forget, context);
        } else if (bytes != nullptr) {
            block = host::NewMemoryBlockOf({static_cast<const char*>(bytes), static_cast<std::size_t>(count)});
        } else {
            block = host::NewMemoryBlock(count);
        }
        if (!block) throw OutOfMemory("MemoryBlock", static_cast<std::size_t>(size));
        *result = block.Leak();
    });
}

ZevaStatus ZevaBlockBytes(ZevaObject* block, void** bytes, int32_t* size) {
    *bytes = nullptr;
    *size = 0;
    return WithHost([&](Session&, Host&) {
        if (block == nullptr) throw HostError("MemoryBlock", "there is no object");
        if (!block->isa->IsA("MemoryBlock")) {
            throw HostError("MemoryBlock", "expected a MemoryBlock, got " + block->isa->Name());
        }
        const auto* data = reinterpret_cast<const ZEVAmemoryBlockStruct*>(block);
        *bytes = data->bytes;
        *size = data->size;
    });
}
