// object_faults.cpp - hosts that are wrong about objects, references and properties.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>

#include "host/runtime/class.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"
#include "tests/probe/faults.h"
#include "tests/probe/faulty_host.h"

namespace faulty {

namespace {

bool IsDerived(const ZEVAobjectStruct* object) { return object->isa->Name() == "ProbeDerivedQOR"; }
unsigned char* DataOf(ZEVAobjectStruct* object) { return reinterpret_cast<unsigned char*>(object + 1); }

// Calls the base's function after that of the subclass, or before it, against the rule. Set by the wrapped base.
Initializer* baseFunction = nullptr;

int depth = 0;
bool isInside = false;
ZEVAobjectStruct* onlyObject = nullptr;
std::map<ZEVAobjectStruct*, int> counts;

void RefuseObjectsInside() {
    Replace<service::PluginNewInstance>(
        [](const char* className) { return isInside ? nullptr : Real<service::PluginNewInstance>(className); });
}

const Fault faults[] = {
    {"properties.integer",
     [] {
         Replace<service::ZEVASetPropValueInt>([](ZEVAobjectStruct* object, const char* property, std::int32_t value) {
             Real<service::ZEVASetPropValueInt>(object, property, static_cast<std::int16_t>(value));
         });
     }},
    {"properties.string",
     [] {
         Replace<service::ZEVASetPropValueString>(
             [](ZEVAobjectStruct* object, const char* property, ZEVAstringStruct* value) {
                 const bool isText = value != nullptr && IsDerived(object);
                 const host::StringReference longer = host::NewString(isText ? value->bytes + "!" : "");
                 Real<service::ZEVASetPropValueString>(object, property, isText ? longer.Get() : value);
             });
     }},
    {"properties.null-string",
     [] {
         Replace<service::ZEVASetPropValueString>(
             [](ZEVAobjectStruct* object, const char* property, ZEVAstringStruct* value) {
                 if (value != nullptr) Real<service::ZEVASetPropValueString>(object, property, value);
             });
     }},
    {"properties.inherited",
     [] {
         Replace<service::ZEVASetPropValueInt>([](ZEVAobjectStruct* object, const char* property, std::int32_t value) {
             const auto& own = object->isa->Members();
             const bool isOwn = std::any_of(own.begin(), own.end(), [=](const host::Member& member) {
                 return member.declaration.name == property;
             });
             if (isOwn || !IsDerived(object)) Real<service::ZEVASetPropValueInt>(object, property, value);
         });
     }},

    {"objects.unknown-class",
     [] {
         Replace<service::PluginNewInstance>([](const char* className) {
             ZEVAobjectStruct* object = Real<service::PluginNewInstance>(className);
             return object != nullptr ? object : Real<service::PluginNewInstance>("RuntimeException");
         });
     }},
    {"objects.distinct",
     [] {
         Replace<service::PluginNewInstance>([](const char* className) {
             if (std::strcmp(className, "ProbeDerivedQOR") != 0) return Real<service::PluginNewInstance>(className);
             if (onlyObject == nullptr) onlyObject = Real<service::PluginNewInstance>(className);
             Real<service::ZEVALockObject>(onlyObject);
             return onlyObject;
         });
     }},
    {"objects.room",
     [] {
         for (const char* className : {"ProbeBaseQOR", "ProbeDerivedQOR"}) {
             ChangeRecord(className, [](Record& record) { record.definition.instanceDataSize = 0; });
         }
     }},
    {"objects.initialized-once",
     [] {
         WrapInitializer("ProbeBaseQOR", [](auto* original, auto* self) {
             original(self);
             original(self);
         });
     }},
    {"objects.initializer-order",
     [] {
         WrapInitializer("ProbeBaseQOR", [](auto* original, auto* self) {
             baseFunction = original;
             if (!IsDerived(self)) original(self);
         });
         WrapInitializer("ProbeDerivedQOR", [](auto* original, auto* self) {
             original(self);
             baseFunction(self);
         });
     }},
    {"objects.initialized-object",
     [] { WrapInitializer("ProbeBaseQOR", [](auto* original, auto* self) { original(self + 1); }); }},
    {"objects.zero-data",
     [] {
         WrapInitializer("ProbeDerivedQOR", [](auto* original, auto* self) {
             DataOf(self)[63] = 1;
             original(self);
         });
     }},
    {"objects.not-constructed",
     [] {
         ChangeRecord("ProbeNestQOR", [](Record& record) {
             baseFunction = reinterpret_cast<Initializer*>(record.Entry("Constructor").function);
         });
         Replace<service::PluginNewInstance>([](const char* className) {
             ZEVAobjectStruct* object = Real<service::PluginNewInstance>(className);
             if (std::strcmp(className, "ProbeNestQOR") == 0) baseFunction(object);
             return object;
         });
     }},

    {"references.first",
     [] {
         Replace<service::PluginNewInstance>([](const char* className) {
             ZEVAobjectStruct* object = Real<service::PluginNewInstance>(className);
             Real<service::ZEVALockObject>(object);
             return object;
         });
     }},
    {"references.finalized-once",
     [] {
         WrapFinalizer("ProbeBaseQOR", [](auto* original, auto* self) {
             original(self);
             original(self);
         });
     }},
    {"references.finalizer-order",
     [] {
         WrapFinalizer("ProbeBaseQOR", [](auto* original, auto* self) {
             baseFunction = original;
             if (!IsDerived(self)) original(self);
         });
         WrapFinalizer("ProbeDerivedQOR", [](auto* original, auto* self) {
             if (baseFunction != nullptr) baseFunction(self);
             original(self);
         });
     }},
    {"references.final-data",
     [] {
         WrapFinalizer("ProbeDerivedQOR", [](auto* original, auto* self) {
             DataOf(self)[0] = 0;
             original(self);
         });
     }},
    {"references.added", [] { Replace<service::ZEVALockObject>([](ZEVAobjectStruct*) {}); }},
    {"references.data-stays",
     [] {
         Replace<service::ZEVALockObject>([](ZEVAobjectStruct* object) {
             if (IsDerived(object)) DataOf(object)[63] = 0;
             Real<service::ZEVALockObject>(object);
         });
     }},
    {"references.many",
     [] {
         Replace<service::ZEVALockObject>([](ZEVAobjectStruct* object) {
             if (++counts[object] < 65536) Real<service::ZEVALockObject>(object);
         });
     }},

    {"nested.setters",
     [] {
         Replace<service::ZEVASetPropValueInt>([](ZEVAobjectStruct* object, const char* property, std::int32_t value) {
             if (depth == 50) return;
             ++depth;
             Real<service::ZEVASetPropValueInt>(object, property, value);
             --depth;
         });
     }},
    {"nested.initializer",
     [] {
         RefuseObjectsInside();
         WrapInitializer("ProbeNestQOR", [](auto* original, auto* self) {
             isInside = true;
             original(self);
             isInside = false;
         });
     }},
    {"nested.finalizer",
     [] {
         RefuseObjectsInside();
         WrapFinalizer("ProbeNestQOR", [](auto* original, auto* self) {
             isInside = true;
             original(self);
             isInside = false;
         });
     }},
};

}  // namespace

const std::span<const Fault> kObjectFaults = faults;

}  // namespace faulty
