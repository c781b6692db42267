// module_scripts.cpp - makes the host on first use, because a process can load a module only once.

#include "tests/script/module_scripts.h"

#include "host/program/platform_pool.h"

host::Host& HostWithModules() {
    static host::Host host(
        {.callScope = PlatformPool(), .report = [](const std::string&) {}, .failures = PlatformFailures()});
    if (host.Modules().empty()) {
        host.LoadModule(ZEVA_COMPANION_MODULE);
        host.LoadModule(ZEVA_FILTERS_MODULE);
    }
    return host;
}
