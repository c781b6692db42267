// program_host.cpp - finds and loads the modules.

#include "host/program/program_host.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "host/program/memory_limit.h"
#include "host/program/platform_pool.h"
#include "host/program/protected_files.h"
#include "host/program/standard_streams.h"

namespace {

// The folder above that of the program.
std::filesystem::path ProgramRoot() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
}

std::filesystem::path BuiltModule(const char* name) { return ProgramRoot() / "modules" / name; }

constexpr const char* kCompanion = "companion.so";
constexpr const char* kFilters = "filters.so";

}  // namespace

bool HasBuiltModules() {
    std::error_code error;
    return std::filesystem::exists(BuiltModule(kCompanion), error) &&
           std::filesystem::exists(BuiltModule(kFilters), error);
}

std::filesystem::path SharedRecipes() { return ProgramRoot() / "recipes"; }

std::unique_ptr<host::Host> MakeHost(const ProgramOptions& options, const std::vector<std::string>& files) {
    const std::filesystem::path filters =
        options.module.empty() ? BuiltModule(kFilters) : std::filesystem::path(options.module);
    if (!options.trace.empty()) {
        ProtectedFiles used;
        for (const std::string& file : files) used.Add(file);
        used.Add(BuiltModule(kCompanion));
        used.Add(filters);
        used.AddOutput(options.trace, "the trace", "nothing was run");
    }
    const std::uint64_t memory = options.memory.empty() ? 0 : MemorySize("--memory", options.memory);
    auto host = std::make_unique<host::Host>(host::HostOptions{.version = options.hostVersion,
                                                               .callScope = PlatformPool(),
                                                               .report = PrintError,
                                                               .failures = PlatformFailures(),
                                                               .trace = options.trace,
                                                               .onLostTrace = NoteLostOutput});
    host->LoadModule(BuiltModule(kCompanion));
    host->LoadModule(filters);
    LimitPlatformMemory(memory, options.workers);
    if (options.pixelLimit > 0) {
        const host::Value pixels[] = {options.pixelLimit * 1e6};
        host->CallShared("CIImageQOR", "SetPixelLimit", pixels);
    }
    return host;
}
