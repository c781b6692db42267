// session.cpp - finding and loading the modules.

#include "host/program/session.h"

#include <cstdio>

#include "host/program/platform_pool.h"

namespace {

// In the order in which they are loaded.
constexpr const char* kModules[] = {"companion.so", "filters.so"};

void PrintMessage(const std::string& message) { std::fprintf(stderr, "zeva: %s\n", message.c_str()); }

}  // namespace

std::unique_ptr<host::Host> OpenSession(double hostVersion) {
    auto session = std::make_unique<host::Host>(
        host::HostOptions{.version = hostVersion, .callScope = PlatformPool(), .report = PrintMessage});
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path folder = program.parent_path().parent_path() / "modules";
    for (const char* module : kModules) session->LoadModule(folder / module);
    return session;
}
