// fake_module.cpp - a module for the host's tests, built like a real one: a superclass with data, and a subclass.

#include <iterator>

#include "plugin/host_exception.h"
#include "plugin/plugin_main.h"

namespace {

struct VesselObject {
    unsigned char header[kZEVAobjectHeaderSize];
    double volume;
};

double GetVolume(ZEVAobjectStruct* self) { return reinterpret_cast<VesselObject*>(self)->volume; }
void SetVolume(ZEVAobjectStruct* self, double volume) { reinterpret_cast<VesselObject*>(self)->volume = volume; }
std::int32_t Double(ZEVAobjectStruct*, std::int32_t number) { return 2 * number; }
std::int32_t Answer() { return 42; }
void Construct(ZEVAobjectStruct* self) { SetVolume(self, 1); }
void Boil(ZEVAobjectStruct*) { RaiseException("UnsupportedOperationException", "there is no fire", 0); }

#define METHOD(declaration, function)                                                 \
    {                                                                                 \
        {reinterpret_cast<ZEVAentry>(function), nullptr, declaration, kHostFlags}, {} \
    }
#define PROPERTY(declaration, getter, setter)                                                                   \
    {                                                                                                           \
        {reinterpret_cast<ZEVAentry>(getter), reinterpret_cast<ZEVAentry>(setter), declaration, kHostFlags}, {} \
    }
ZEVAmethod vesselMethods[] = {
    PROPERTY("Volume as double", GetVolume, SetVolume),
    METHOD("Double(number as integer) as integer", Double),
};
ZEVAmethod sharedMethods[] = {METHOD("Answer() as integer", Answer)};
ZEVAmethod kettleMethods[] = {METHOD("Boil", Boil), METHOD("Constructor", Construct)};

ZEVAclassDefinition kettle = {.record = {.version = kRecordVersion,
                                         .className = "Kettle",
                                         .superclassName = "Vessel",
                                         .methods = kettleMethods,
                                         .methodCount = std::size(kettleMethods)}};
ZEVAclassDefinition vessel = {.record = {.version = kRecordVersion,
                                         .className = "Vessel",
                                         .instanceDataSize = sizeof(VesselObject) - kZEVAobjectHeaderSize,
                                         .methods = vesselMethods,
                                         .methodCount = std::size(vesselMethods),
                                         .sharedMethods = sharedMethods,
                                         .sharedMethodCount = std::size(sharedMethods)}};

}  // namespace

std::span<ZEVAclassDefinition* const> ModuleClasses() {
    static ZEVAclassDefinition* const classes[] = {&kettle, &vessel};
    return classes;
}
