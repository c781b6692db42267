// object.cpp - how objects come and go.

#include "host/runtime/object.h"

#include <cstdlib>
#include <limits>

#include "host/runtime/class.h"
#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/trace.h"

namespace host {

namespace {

// The count of an object whose finalize functions run: they may lock and unlock it without ending it a second time.
constexpr std::int32_t kEnding = std::numeric_limits<std::int32_t>::max() / 2;

// Runs a class's initialize or finalize function, if it has one.
void Run(Class::Function function, const char* what, const Class& isa, ZEVAobjectStruct* object) {
    if (function == nullptr) return;
    Trace* trace = Host::Current().Tracing();
    if (trace != nullptr) trace->Begin(what + isa.Name(), kToModule, {{"object", TraceJson(object)}});
    function(object);
    if (trace != nullptr) trace->End({});
}

void InitializeAs(const Class& isa, ZEVAobjectStruct* object) {
    if (isa.Superclass() != nullptr) InitializeAs(*isa.Superclass(), object);
    Run(isa.InitializeFunction(), "initialize ", isa, object);
}

void Finalize(ZEVAobjectStruct* object) {
    for (const Class* each = object->isa; each != nullptr; each = each->Superclass()) {
        Run(each->FinalizeFunction(), "finalize ", *each, object);
    }
}

}  // namespace

ObjectReference NewObject(const Class& isa) {
    auto* object = static_cast<ZEVAobjectStruct*>(std::calloc(1, kZEVAobjectHeaderSize + isa.DataSize()));
    if (object == nullptr) {
        throw HostError(isa.Name(), "no memory for an object of " + std::to_string(isa.DataSize()) + " bytes of data");
    }
    object->isa = &isa;
    object->references = 1;
    Host::Current().NoteNew(object);
    return ObjectReference::Adopt(object);
}

void Initialize(ZEVAobjectStruct* object) { InitializeAs(*object->isa, object); }

void Lock(ZEVAobjectStruct* object) {
    if (object != nullptr) ++object->references;
}

void Unlock(ZEVAobjectStruct* object) {
    if (object == nullptr || --object->references > 0) return;
    object->references = kEnding;
    Host& host = Host::Current();
    // Whoever gives back a reference could not take an exception.
    const ObjectReference raised = host.RaisedBy([&] { Finalize(object); });
    if (raised) {
        host.Report(object->isa->Name() + ": its finalize function raised a " + raised->isa->Name() +
                    ", it is dropped");
    }
    host.NoteObjectGone();
    std::free(object);
}

}  // namespace host
