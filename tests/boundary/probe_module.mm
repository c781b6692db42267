// probe_module.mm - a module made for tests. It has no classes; its exports reach the parts of the boundary that no
// filter class uses.

#include <cstring>
#include <new>

#include "bridge/value_bridge.h"
#include "plugin/class_registration.h"
#include "plugin/host_exception.h"
#include "plugin/plugin_main.h"
#include "plugin/zvdata.h"

#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))

// No classes: a test registers its own through ProbeRegister.
std::span<ZEVAclassDefinition* const> ModuleClasses() { return {}; }

PROBE_EXPORT void ProbeRegister(ZEVAclassDefinition* record) { MyZEVARegisterClass(record); }

PROBE_EXPORT ZEVAproperty* ProbeFixProperties(ZEVAproperty* table, int count) { return FixProperties(table, count); }

PROBE_EXPORT void ProbeRaise(const char* exceptionClass, const char* message, unsigned long errorNumber) {
    RaiseException(exceptionClass, message, errorNumber);
}

// Makes a holder in memory whose bits are all set, passes it to the test, and destroys it.
PROBE_EXPORT void ProbeHolder(void (*use)(zvData& holder)) {
    alignas(zvData) unsigned char storage[sizeof(zvData)];
    std::memset(storage, 0xFF, sizeof storage);
    auto* holder = new (storage) zvData;
    use(*holder);
    holder->~zvData();
}

PROBE_EXPORT void ProbeRelease(zvData& holder) { holder.Release(); }

// The routines of the value bridge, for tests that pass no key. An accessor of a filter class always passes its own.
#define PROBE_TYPE(type, Value)                                                                                    \
    PROBE_EXPORT Value ProbeGet##type(ZEVAobjectStruct* self, NSString* key) { return getvalue##type(self, key); } \
    PROBE_EXPORT void ProbeSet##type(ZEVAobjectStruct* self, NSString* key, Value value) {                         \
        setvalue##type(self, key, value);                                                                          \
    }
PROBE_TYPE(NSNumber, double)
PROBE_TYPE(CIImage, ZEVAobjectStruct*)
PROBE_TYPE(CIColor, ZEVAobjectStruct*)
PROBE_TYPE(CIVector, ZEVAobjectStruct*)
PROBE_TYPE(NSAffineTransform, ZEVAobjectStruct*)
PROBE_TYPE(CGColorSpace, ZEVAobjectStruct*)
PROBE_TYPE(NSData, ZEVAmemoryBlockStruct*)

PROBE_EXPORT ZEVAobjectStruct* ProbeGetAttribute(ZEVAobjectStruct* self, NSString* key) {
    return getattribute(self, key);
}
