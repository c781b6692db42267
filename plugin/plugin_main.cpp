// plugin_main.cpp - the entry point and what it settles with the host.

#include "plugin/plugin_main.h"

#include <pthread.h>

#include "plugin/class_registration.h"
#include "plugin/version.h"

void ZEVAPluginMain(ZEVAresolver resolver) {
    gResolver = resolver;
    const auto registerPluginVersion = reinterpret_cast<void (*)(std::int32_t)>(resolver("RegisterPluginVersion"));
    const auto getZVVersion = reinterpret_cast<double (*)()>(gResolver("ZEVAGetZVVersion"));
    if (getZVVersion != nullptr) zvversion = getZVVersion();
    CurrentZEVAControlVersion = RecordVersionFor(zvversion);
    registerPluginVersion(CurrentZEVAControlVersion);
    (void)pthread_self();  // part of the family's handshake; no thread identity is kept or compared anywhere
    if (IsSkippedHost(zvversion)) return;
    for (ZEVAclassDefinition* record : ModuleClasses()) MyZEVARegisterClass(record);
}
