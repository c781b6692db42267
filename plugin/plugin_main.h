// plugin_main.h - where a module begins.
//
// A module of this family is this folder plus a list of class records: it links the folder's library and defines
// ModuleClasses. The host calls ZEVAPluginMain once per load; there is no unload.

#pragma once

#include <span>

#include "plugin/zeva.h"

// The module's classes, in the order in which they are registered. Defined by the module.
std::span<ZEVAclassDefinition* const> ModuleClasses();

// The module's only export: notes the resolver, learns the host's version, announces the record version chosen for it
// and registers the module's classes. The host must offer "RegisterPluginVersion"; everything else may be missing.
extern "C" __attribute__((visibility("default"))) void ZEVAPluginMain(ZEVAresolver resolver);
