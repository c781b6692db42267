// program_host.cpp - finds and loads the modules.

#include "host/program/program_host.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "host/program/platform_pool.h"

namespace {

void PrintMessage(const std::string& message) { std::fprintf(stderr, "zeva: %s\n", message.c_str()); }

std::filesystem::path BuiltModule(const char* name) {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    return program.parent_path().parent_path() / "modules" / name;
}

constexpr const char* kCompanion = "companion.so";
constexpr const char* kFilters = "filters.so";

}  // namespace

bool HasBuiltModules() {
    std::error_code error;
    return std::filesystem::exists(BuiltModule(kCompanion), error) &&
           std::filesystem::exists(BuiltModule(kFilters), error);
}

std::unique_ptr<host::Host> MakeHost(const ProgramOptions& options) {
    auto host = std::make_unique<host::Host>(host::HostOptions{.version = options.hostVersion,
                                                               .callScope = PlatformPool(),
                                                               .report = PrintMessage,
                                                               .failures = PlatformFailures(),
                                                               .trace = options.trace});
    host->LoadModule(BuiltModule(kCompanion));
    host->LoadModule(options.module.empty() ? BuiltModule(kFilters) : std::filesystem::path(options.module));
    return host;
}
