// program_host.cpp - finds and loads the modules.

#include "host/program/program_host.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "host/program/ending_signals.h"
#include "host/program/exit_status.h"
#include "host/program/memory_limit.h"
#include "host/program/platform_pool.h"
#include "host/program/protected_files.h"
#include "host/program/standard_streams.h"
#include "host/runtime/module.h"

namespace {

// The folder above that of the program.
std::filesystem::path ProgramRoot() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
}

std::filesystem::path BuiltModule(const char* name) { return ProgramRoot() / "modules" / name; }

constexpr const char* kCompanion = "companion.so";
constexpr const char* kFilters = "filters.so";

}  // namespace

std::vector<std::filesystem::path> AddedModules(const ProgramOptions& options) {
    std::vector<std::filesystem::path> modules;
    host::AddModules(modules, host::ModulesOfEnvironment());
    host::AddModules(modules, std::vector<std::filesystem::path>(options.added.begin(), options.added.end()));
    return modules;
}

std::set<const host::Class*> ClassesOfAddedModules(const host::Host& host) {
    constexpr std::size_t kUsualModules = 2;  // the companion and the filters
    std::set<const host::Class*> classes;
    for (std::size_t i = kUsualModules; i < host.Modules().size(); ++i) {
        classes.insert(host.Modules()[i]->classes.begin(), host.Modules()[i]->classes.end());
    }
    return classes;
}

bool HasBuiltModules() {
    std::error_code error;
    return std::filesystem::exists(BuiltModule(kCompanion), error) &&
           std::filesystem::exists(BuiltModule(kFilters), error);
}

std::filesystem::path SharedRecipes() { return ProgramRoot() / "recipes"; }

std::unique_ptr<host::Host> MakeHost(const ProgramOptions& options, const std::vector<std::string>& files) {
    const std::filesystem::path filters =
        options.module.empty() ? BuiltModule(kFilters) : std::filesystem::path(options.module);
    const std::vector<std::filesystem::path> added = AddedModules(options);
    if (!options.trace.empty()) {
        ProtectedFiles used;
        for (const std::string& file : files) used.Add(file);
        used.Add(BuiltModule(kCompanion));
        used.Add(filters);
        for (const std::filesystem::path& module : added) used.Add(module);
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
    for (const std::filesystem::path& module : added) host->LoadModule(module);
    RemoveAtSignals(UnfinishedPicturesRemover());
    LimitPlatformMemory(memory, options.workers);
    if (options.threads != 0) LimitPlatformThreads(options.threads);
    if (!options.instructionSet.empty() && !PinInstructionSet(options.instructionSet)) {
        throw UsageError("--instruction-set: '" + options.instructionSet +
                         "' is not what this processor and this engine have, which is " + InstructionSet() +
                         " or one before it in sse2, sse4, avx2, avx512; nothing was done");
    }
    if (options.pixelLimit > 0) {
        const host::Value pixels[] = {options.pixelLimit * 1e6};
        WithStatus(kWrongUsage, [&] { host->CallShared("CIImageQOR", "SetPixelLimit", pixels); });
    }
    return host;
}
