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
    // Part of the family's handshake. No thread identity is kept or compared; a volatile result, because some C
    // libraries declare the function free of effects and the call would disappear.
    [[maybe_unused]] volatile auto thread = pthread_self();
    if (IsSkippedHost(zvversion)) return;
    for (ZEVAclassDefinition* record : ModuleClasses()) MyZEVARegisterClass(record);
}
