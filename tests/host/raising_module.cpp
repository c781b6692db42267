// raising_module.cpp - a module that announces an unknown record version and raises an exception while it is loaded.

#include "interface/entry_point.h"
#include "interface/record_version.h"
#include "interface/services.h"

extern "C" __attribute__((visibility("default"))) void ZEVAPluginMain(ZEVAresolver resolver) {
    service::Resolve<service::RegisterPluginVersion>(resolver)(kNewestRecordVersion + 1);
    ZEVAobjectStruct* exception = service::Resolve<service::PluginNewInstance>(resolver)("RuntimeException");
    service::Resolve<service::RuntimeRaiseException>(resolver)(exception);
    service::Resolve<service::ZEVAUnlockObject>(resolver)(exception);
}
