// program_host.cpp - finds and loads the modules.

#include "host/program/program_host.h"

#include <cstdio>
#include <filesystem>

#include "host/program/platform_pool.h"

namespace {

void PrintMessage(const std::string& message) { std::fprintf(stderr, "zeva: %s\n", message.c_str()); }

}  // namespace

std::unique_ptr<host::Host> MakeHost(const ProgramOptions& options) {
    auto host = std::make_unique<host::Host>(host::HostOptions{
        .version = options.hostVersion, .callScope = PlatformPool(), .report = PrintMessage, .trace = options.trace});
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path folder = program.parent_path().parent_path() / "modules";
    host->LoadModule(folder / "companion.so");
    host->LoadModule(options.module.empty() ? folder / "filters.so" : std::filesystem::path(options.module));
    return host;
}
