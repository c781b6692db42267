// crashing_module.cpp - a module that crashes one process: the first one that removes the file named by ZEVA_CRASH_ONCE
// aborts while it loads the module. In every other process the module registers nothing.

#include <unistd.h>

#include <cstdlib>

extern "C" __attribute__((visibility("default"))) void ZEVAPluginMain(void*) {
    const char* file = std::getenv("ZEVA_CRASH_ONCE");
    if (file != nullptr && unlink(file) == 0) std::abort();
}
