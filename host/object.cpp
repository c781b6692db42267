// object.cpp - how objects come and go.

#include "host/object.h"

#include <cstdlib>
#include <limits>

#include "host/class.h"
#include "host/errors.h"
#include "host/host.h"

namespace host {

namespace {

// The count of an object whose finalize functions run: they may lock and unlock it without ending it a second time.
constexpr std::int32_t kEnding = std::numeric_limits<std::int32_t>::max() / 2;

void Initialize(const Class& isa, ZEVAobjectStruct* object) {
    if (isa.Superclass() != nullptr) Initialize(*isa.Superclass(), object);
    if (isa.InitializeFunction() != nullptr) isa.InitializeFunction()(object);
}

void Finalize(const Class& isa, ZEVAobjectStruct* object) {
    for (const Class* each = &isa; each != nullptr; each = each->Superclass()) {
        if (each->FinalizeFunction() != nullptr) each->FinalizeFunction()(object);
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
    Host& host = Host::Current();
    host.CountObject(1);
    auto reference = ObjectReference::Adopt(object);
    host.Scoped([&] { Initialize(isa, object); });
    return reference;
}

void Lock(ZEVAobjectStruct* object) {
    if (object != nullptr) ++object->references;
}

void Unlock(ZEVAobjectStruct* object) {
    if (object == nullptr || --object->references > 0) return;
    object->references = kEnding;
    Host& host = Host::Current();
    host.WithoutRaising(object->isa->Name(), [&] { Finalize(*object->isa, object); });
    host.CountObject(-1);
    std::free(object);
}

}  // namespace host
