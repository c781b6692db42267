// faulty_host.h - the host's services as the probe gets them in these tests: each can be replaced by a faulty one.
//
//   Replace<service::memoryBlockGetSize>([](auto* block) { return Real<service::memoryBlockGetSize>(block) + 1; });
//
// Records are changed before the host gets them, which then seems to keep them wrongly. Members are wrapped that way.
// The host itself stays as it is.
//
// Lifetime: one set of faults per process; each test has a process of its own.
// Adding a service: nothing. The functions come from interface/services.def.

#pragma once

#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "host/runtime/services.h"
#include "interface/class_definition.h"
#include "interface/entry_point.h"
#include "interface/services.h"

namespace faulty {

// Calls the host's own service.
template <typename Listed, typename... Arguments>
auto Real(Arguments... arguments) {
    return service::Resolve<Listed>(&host::ResolveService)(arguments...);
}

// What stands for a service; empty for the host's own.
template <typename Listed>
inline std::function<typename Listed::Signature> replacement;

template <typename Listed, typename Work>
void Replace(Work work) {
    replacement<Listed> = std::move(work);
}

// Which function a name finds, after the replacements; empty for the right one.
inline std::function<ZEVAentry(const char* name)> replacedResolver;

// Whether the entry point has returned.
inline bool isLoaded = false;

// A service that returns null or 0 at each call but the first ones.
inline std::string failing;
inline int callsBeforeFailing = 0;

// The services that the probe has called with a null handle, where none is allowed.
inline std::set<std::string> calledWithNull;

// The function of a service, with its replacement; null for an unknown name.
[[nodiscard]] ZEVAentry FindService(const char* name);

// The resolver for the probe.
[[nodiscard]] ZEVAentry Resolve(const char* name);

// A record that the host is about to get, and that may be changed: a copy, with copies of its method tables.
class Record {
  public:
    explicit Record(const ZEVAclassDefinitionDownLevel& record);

    // The entry of a member: its name as the declaration begins, "Constructor(" for example.
    ZEVAmethodDownLevel& Entry(std::string_view declaration);

    ZEVAclassDefinitionDownLevel& definition;
};

// Changes the record of a class before the host gets it.
void ChangeRecord(const char* className, std::function<void(Record&)> change);

// Replaces a function of a record by work(original, arguments...). The work has no captures.
template <typename Signature, typename Work>
struct Wrapped;
template <typename Result, typename... Arguments, typename Work>
struct Wrapped<Result(Arguments...), Work> {
    static inline Result (*original)(Arguments...);
    static Result Call(Arguments... arguments) { return Work()(original, arguments...); }
};

template <typename Signature, typename Pointer, typename Work>
void Wrap(Pointer& function, Work) {
    Wrapped<Signature, Work>::original = reinterpret_cast<Signature*>(function);
    function = reinterpret_cast<Pointer>(&Wrapped<Signature, Work>::Call);
}

// Wraps the initializer or the finalizer of a class.
using Initializer = void(ZEVAobjectStruct*);

template <typename Work>
void WrapInitializer(const char* className, Work work) {
    ChangeRecord(className, [=](Record& record) { Wrap<Initializer>(record.definition.initialize, work); });
}

template <typename Work>
void WrapFinalizer(const char* className, Work work) {
    ChangeRecord(className, [=](Record& record) { Wrap<Initializer>(record.definition.finalize, work); });
}

// Wraps a member of a class: its function, or its setter.
template <typename Signature, typename Work>
void WrapMember(const char* className, const char* declaration, Work work) {
    ChangeRecord(className, [=](Record& record) { Wrap<Signature>(record.Entry(declaration).function, work); });
}
template <typename Signature, typename Work>
void WrapSetter(const char* className, const char* declaration, Work work) {
    ChangeRecord(className, [=](Record& record) { Wrap<Signature>(record.Entry(declaration).setter, work); });
}

}  // namespace faulty
