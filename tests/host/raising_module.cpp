// raising_module.cpp - a module that announces an unknown record version and raises an exception while it is loaded.

#include "plugin/zeva.h"

extern "C" __attribute__((visibility("default"))) void ZEVAPluginMain(ZEVAresolver resolver) {
    reinterpret_cast<void (*)(std::int32_t)>(resolver("RegisterPluginVersion"))(13);
    const auto newInstance = reinterpret_cast<ZEVAobjectStruct* (*)(const char*)>(resolver("PluginNewInstance"));
    ZEVAobjectStruct* exception = newInstance("RuntimeException");
    reinterpret_cast<void (*)(ZEVAobjectStruct*)>(resolver("RuntimeRaiseException"))(exception);
    reinterpret_cast<void (*)(ZEVAobjectStruct*)>(resolver("ZEVAUnlockObject"))(exception);
}
