// teapot.cpp - the smallest useful module: one class with one shared method.
//
// Lifetime: the class record is static, the host keeps it.
// Threads:  the host's thread.

#include <iterator>

#include "plugin/plugin_main.h"

namespace {

std::int32_t Cups() { return 6; }

ZEVAmethod sharedMethods[] = {{{reinterpret_cast<ZEVAentry>(Cups), nullptr, "Cups() as integer", 4}, {}}};

ZEVAclassDefinition teapot = {.record = {.version = 12,
                                         .className = "Teapot",
                                         .sharedMethods = sharedMethods,
                                         .sharedMethodCount = std::size(sharedMethods)}};

}  // namespace

std::span<ZEVAclassDefinition* const> ModuleClasses() {
    static ZEVAclassDefinition* const classes[] = {&teapot};
    return classes;
}
