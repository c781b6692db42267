// plugin_main.h - the module's entry point.
//
// A module of this family is this folder plus a list of class records: it links the folder's library and defines
// ModuleClasses. The host calls ZEVAPluginMain once per load. A module is never unloaded.

#pragma once

#include <span>

#include "interface/class_definition.h"
#include "interface/entry_point.h"

// The module's classes, in the order in which they are registered. Defined by the module.
[[nodiscard]] std::span<ZEVAclassDefinition* const> ModuleClasses();

// The module's only export. Stores the resolver, asks for the host's version, announces the record version chosen
// for it and registers the module's classes. The host must offer "RegisterPluginVersion"; any other service may be
// missing.
extern "C" __attribute__((visibility("default"))) void ZEVAPluginMain(ZEVAresolver resolver);
