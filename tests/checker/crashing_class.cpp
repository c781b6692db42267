// crashing_class.cpp - a module for macOS with a property whose setter crashes.

#include <iterator>

#include "plugin/host_services.h"
#include "plugin/plugin_main.h"

namespace {

double GetValue(ZEVAobjectStruct*) { return 0; }

void SetValue(ZEVAobjectStruct*, double value) {
    volatile double* volatile nowhere = nullptr;
    *nowhere = value;
}

ZEVAmethod members[] = {
    {{reinterpret_cast<ZEVAentry>(GetValue), reinterpret_cast<ZEVAentry>(SetValue), "Value as double", kHostFlags},
     {}}};

ZEVAclassDefinition crashingClass = {.record = {.version = kRecordVersion,
                                                .className = "Crashing",
                                                .methods = members,
                                                .methodCount = std::size(members),
                                                .flags = kHostFlags}};

}  // namespace

std::span<ZEVAclassDefinition* const> ModuleClasses() {
    static ZEVAclassDefinition* const classes[] = {&crashingClass};
    return classes;
}
