// crashing_module.cpp - a module that ends its process while it is loaded, once: the first process to take the file named by
// ZEVA_CRASH_ONCE away. In every other process it loads and registers nothing.

#include <unistd.h>

#include <cstdlib>

extern "C" __attribute__((visibility("default"))) void ZEVAPluginMain(void*) {
    const char* file = std::getenv("ZEVA_CRASH_ONCE");
    if (file != nullptr && unlink(file) == 0) std::abort();
}
