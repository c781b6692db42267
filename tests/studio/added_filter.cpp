// added_filter.cpp - a module with one filter, Plain, which has a number and never a result.
//
// Lifetime: the host keeps pointers to the record and the table below for the life of the process.
// Threads:  the host's thread only.

#include <iterator>

#include "plugin/host_services.h"
#include "plugin/plugin_main.h"

namespace {

double GetStrength(ZEVAobjectStruct*) { return 0.5; }
void SetStrength(ZEVAobjectStruct*, double) {}
ZEVAobjectStruct* GetOutput(ZEVAobjectStruct*) { return nullptr; }

ZEVAmethod members[] = {
    {{reinterpret_cast<ZEVAentry>(GetStrength), reinterpret_cast<ZEVAentry>(SetStrength), "inputStrength as double",
      kHostFlags},
     {}},
    {{reinterpret_cast<ZEVAentry>(GetOutput), nullptr, "outputImage as CIImageQOR", kHostFlags}, {}},
};

ZEVAclassDefinition plainClass = {.record = {.version = kRecordVersion,
                                             .className = "CIFilterPlainQOR",
                                             .superclassName = "CIFilterQOR",
                                             .methods = members,
                                             .methodCount = std::size(members),
                                             .flags = kHostFlags}};

}  // namespace

std::span<ZEVAclassDefinition* const> ModuleClasses() {
    static ZEVAclassDefinition* const classes[] = {&plainClass};
    return classes;
}
