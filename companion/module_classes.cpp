// module_classes.cpp - what this module registers.

#include "companion/class_record.h"
#include "plugin/plugin_main.h"

std::span<ZEVAclassDefinition* const> ModuleClasses() {
#define ADDRESS(record) &record,
    static ZEVAclassDefinition* const classes[] = {COMPANION_CLASSES(ADDRESS)};
#undef ADDRESS
    return classes;
}
