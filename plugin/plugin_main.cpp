// plugin_main.cpp - what the module agrees on with its host when it is loaded.

#include "plugin/plugin_main.h"

#include <pthread.h>

#include "interface/services.h"
#include "plugin/class_registration.h"
#include "plugin/version.h"

void ZEVAPluginMain(ZEVAresolver resolver) {
    gResolver = resolver;
    auto* registerPluginVersion = service::Resolve<service::RegisterPluginVersion>(resolver);
    auto* getZVVersion = service::Resolve<service::ZEVAGetZVVersion>(gResolver);
    if (getZVVersion != nullptr) zvversion = getZVVersion();
    CurrentZEVAControlVersion = RecordVersionFor(zvversion);
    registerPluginVersion(CurrentZEVAControlVersion);
    (void)pthread_self();  // part of the family's handshake; no thread identity is stored or compared
    if (IsSkippedHost(zvversion)) return;
    for (ZEVAclassDefinition* record : ModuleClasses()) MyZEVARegisterClass(record);
}
