// module_classes.cpp - the classes that the companion registers.

#include "companion/class_record.h"
#include "plugin/plugin_main.h"

std::span<ZEVAclassDefinition* const> ModuleClasses() {
#define ADDRESS(record) &record,
    static ZEVAclassDefinition* const classes[] = {COMPANION_CLASSES(ADDRESS)};
#undef ADDRESS
    return classes;
}
