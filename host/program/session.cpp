// session.cpp - finding and loading the modules.

#include "host/program/session.h"

#include <cstdio>

#include "host/program/platform_pool.h"

namespace {

void PrintMessage(const std::string& message) { std::fprintf(stderr, "zeva: %s\n", message.c_str()); }

}  // namespace

std::unique_ptr<host::Host> OpenSession(const SessionOptions& options) {
    auto session = std::make_unique<host::Host>(host::HostOptions{
        .version = options.hostVersion, .callScope = PlatformPool(), .report = PrintMessage, .trace = options.trace});
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path folder = program.parent_path().parent_path() / "modules";
    session->LoadModule(folder / "companion.so");
    session->LoadModule(options.module.empty() ? folder / "filters.so" : options.module);
    return session;
}
