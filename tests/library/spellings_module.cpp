// spellings_module.cpp - a module with two filters of one short name, and a class with two such properties.
//
// Lifetime: the class records are static. Threads: the host's thread.

#include <iterator>

#include "plugin/plugin_main.h"

namespace {

double size = 0;

double GetSize(ZEVAobjectStruct*) { return size; }
void SetSize(ZEVAobjectStruct*, double value) { size = value; }
double GetOther(ZEVAobjectStruct*) { return -1; }

ZEVAmethod methods[] = {
    {{reinterpret_cast<ZEVAentry>(GetSize), reinterpret_cast<ZEVAentry>(SetSize), "inputSize as double", 4}, {}},
    {{reinterpret_cast<ZEVAentry>(GetOther), nullptr, "Size as double", 4}, {}},
    {{reinterpret_cast<ZEVAentry>(GetOther), nullptr, "FarAway as double", 4}, {}},
};

ZEVAclassDefinition wideBlur = {
    .record = {
        .version = 12, .className = "CIFilterWideBlurQOR", .methods = methods, .methodCount = std::size(methods)}};
ZEVAclassDefinition otherWideBlur = {.record = {.version = 12, .className = "CIFilterWide_BlurQOR"}};

}  // namespace

std::span<ZEVAclassDefinition* const> ModuleClasses() {
    static ZEVAclassDefinition* const classes[] = {&wideBlur, &otherWideBlur};
    return classes;
}
