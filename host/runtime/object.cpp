// object.cpp - creating and destroying objects.

#include "host/runtime/object.h"

#include <cstdlib>
#include <limits>
#include <string>

#include "host/runtime/class.h"
#include "host/runtime/environment.h"
#include "host/runtime/errors.h"

namespace host {

namespace {

// The reference count of an object whose finalizers run. They may lock and unlock it without destroying it again.
constexpr std::int32_t kFinalizing = std::numeric_limits<std::int32_t>::max() / 2;

// Calls a class's initializer or finalizer, if it has one.
void CallIfAny(Class::Function function, const char* kind, const Class& isa, ZEVAobjectStruct* object) {
    if (function != nullptr) Environment::Current().CallLifecycleFunction(kind, isa, function, object);
}

void InitializeAs(const Class& isa, ZEVAobjectStruct* object) {
    if (isa.Superclass() != nullptr) InitializeAs(*isa.Superclass(), object);
    CallIfAny(isa.InitializeFunction(), "initialize", isa, object);
}

void Finalize(ZEVAobjectStruct* object) {
    for (const Class* each = object->isa; each != nullptr; each = each->Superclass()) {
        CallIfAny(each->FinalizeFunction(), "finalize", *each, object);
    }
}

}  // namespace

ObjectReference NewObject(const Class& isa) {
    auto* object = static_cast<ZEVAobjectStruct*>(std::calloc(1, kZEVAobjectHeaderSize + isa.DataSize()));
    if (object == nullptr) {
        throw OutOfMemory(isa.Name(), kZEVAobjectHeaderSize + isa.DataSize());
    }
    object->isa = &isa;
    object->references = 1;
    Environment::Current().ObjectCreated(object);
    return ObjectReference::Adopt(object);
}

void Initialize(ZEVAobjectStruct* object) { InitializeAs(*object->isa, object); }

void Lock(ZEVAobjectStruct* object) {
    if (object != nullptr) ++object->references;
}

void Unlock(ZEVAobjectStruct* object) {
    if (object == nullptr || --object->references > 0) return;
    object->references = kFinalizing;
    Environment& environment = Environment::Current();
    // The caller that releases a reference cannot handle an exception, so it is only reported.
    const ObjectReference raised = environment.CallModule([object] { Finalize(object); });
    if (raised) {
        environment.Report(object->isa->Name() + ": its finalizer raised a " + raised->isa->Name() +
                           "; the exception is dropped");
    }
    environment.ObjectDestroyed();
    std::free(object);
}

}  // namespace host
