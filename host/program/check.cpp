// check.cpp - "zeva check": checks whether a module keeps the host interface.

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "host/checker/report.h"
#include "host/checker/sandbox.h"
#include "host/program/commands.h"
#include "host/program/platform_pool.h"
#include "host/program/protected_files.h"
#include "host/runtime/errors.h"
#include "host/runtime/module.h"
#include "host/runtime/text.h"
#include "host/runtime/write_file.h"

namespace {

namespace fs = std::filesystem;

struct CheckRequest {
    std::string module;
    std::vector<std::string> siblings;
    bool isAlone = false;
    checker::RunOptions run;
    bool listsOnly = false;
    bool isVerbose = false;
    bool isJson = false;
    std::string junit;
    std::string waivers;
    bool hasSandbox = false;
    bool hasNoSandbox = false;
};

constexpr const char* kFooter =
    "Each check runs in its own process. A sibling is a module whose classes the checked module needs. Unless --with "
    "or\n"
    "--alone is given, it is companion.so beside the module or beside the modules of this program.\n"
    "Exit status: 0 when no check failed or crashed, 1 when one did, 2 for wrong arguments, 3 when an output failed.";

// The companion beside the module, or else the companion of this build. None when the module is the companion.
std::vector<fs::path> DefaultSiblings(const fs::path& module) {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    for (const fs::path& folder : {module.parent_path(), program.parent_path().parent_path() / "modules"}) {
        const fs::path companion = folder / "companion.so";
        std::error_code error;
        if (!fs::exists(companion, error)) continue;
        if (fs::equivalent(companion, module, error)) return {};
        return {companion};
    }
    return {};
}

// Adds the modules that every command loads, except the checked one.
void AddSiblings(std::vector<fs::path>& siblings, const std::vector<fs::path>& added, const fs::path& module) {
    siblings.insert(siblings.begin(), module);
    host::AddModules(siblings, added);
    siblings.erase(siblings.begin());
}

// Reads the waivers. A mistake in them is one of the command.
std::vector<checker::Waiver> ReadUsersWaivers(const std::string& file) {
    try {
        return checker::ReadWaivers(file);
    } catch (const host::HostError& error) {
        throw UsageError(error.what());
    }
}

// A folder in that of temporary files, which disappears with this object.
class PrivateFolder {
  public:
    PrivateFolder() {
        std::string pattern = (fs::temp_directory_path() / "zeva-check-XXXXXX").native();
        if (mkdtemp(pattern.data()) == nullptr) throw std::system_error(errno, std::generic_category(), pattern);
        path_ = pattern;
    }
    ~PrivateFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    PrivateFolder(const PrivateFolder&) = delete;
    const fs::path& Path() const { return path_; }

  private:
    fs::path path_;
};

// Whether the module is kept in a sandbox. Says so if it cannot be.
bool UsesSandbox(const CheckRequest& request) {
    if (request.hasNoSandbox) return false;
    const std::string obstacle = checker::ObstacleToSandbox();
    if (obstacle.empty()) return true;
    if (request.hasSandbox) throw UsageError("--sandbox: " + obstacle + "; nothing was checked");
    std::fprintf(stderr, "check: %s; the module runs without a sandbox and can reach files, sockets and programs\n",
                 obstacle.c_str());
    return false;
}

// Runs the checks and prints their results: as text while the checks run, or as JSON at the end.
int RunAndReport(const checker::CheckedModule& module, const CheckRequest& request) {
    checker::TextReport text(stdout, request.isVerbose);
    if (!request.isJson) {
        std::printf("%s", host::PrintableText(request.module).c_str());
        for (const fs::path& sibling : module.siblings) {
            std::printf(" with %s", host::PrintableText(sibling.native()).c_str());
        }
        std::printf(", host version %s\n\n", host::NumberText(module.hostVersion).c_str());
    }
    const auto start = std::chrono::steady_clock::now();
    const auto results = checker::RunChecks(module, request.run, [&](const checker::CheckResult& result) {
        if (!request.isJson) text.Add(result);
    });
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (request.isJson) {
        std::printf("%s", checker::JsonReport(request.module, results).c_str());
    } else {
        text.End(results, elapsed.count());
    }
    if (!request.junit.empty()) host::WriteFile(request.junit, checker::JunitReport(request.module, results));
    return checker::IsBad(checker::VerdictOfRun(results)) ? kFailed : kDone;
}

int Check(const ProgramOptions& options, const CheckRequest& request) {
    if (request.listsOnly) {
        std::printf("%s", checker::ListOfChecks(request.run.only).c_str());
        return kDone;
    }
    if (request.module.empty()) throw UsageError("MODULE is required");
    if (!fs::exists(request.module)) throw UsageError(request.module + ": no such file; nothing was checked");
    if (!options.trace.empty())
        throw host::HostError("--trace", "checks run in their own processes and are not traced");
    static_cast<void>(
        checker::SelectedChecks(request.run.only));  // throws for an unknown name before anything is printed
    CheckRequest checked = request;
    if (!request.waivers.empty()) checked.run.waivers = ReadUsersWaivers(request.waivers);
    std::vector<fs::path> siblings(request.siblings.begin(), request.siblings.end());
    if (siblings.empty() && !request.isAlone) siblings = DefaultSiblings(request.module);
    if (!request.isAlone) AddSiblings(siblings, AddedModules(options), request.module);
    if (!request.junit.empty()) {
        ProtectedFiles files;
        files.Add(request.module);
        for (const fs::path& sibling : siblings) files.Add(sibling);
        files.AddOutput(request.junit, "the report", "nothing was checked");
    }
    std::optional<PrivateFolder> folder;
    if (UsesSandbox(request)) folder.emplace();
    return RunAndReport(
        {request.module, siblings, PlatformPool(), options.hostVersion, folder ? folder->Path() : fs::path()}, checked);
}

}  // namespace

Command CheckCommand() {
    const auto request = std::make_shared<CheckRequest>();
    return {
        .name = "check",
        .help = "Checks whether a module keeps the host interface.",
        .arguments =
            {
                {"MODULE", &request->module, "module to check"},
                {"--with", &request->siblings, "another module to load; may be repeated"},
                {"--alone", &request->isAlone, "load no other module"},
                {"--waivers", &request->waivers, "file of the checks that may fail, until when and why"},
                {"--sandbox", &request->hasSandbox, "fail where the system has no sandbox"},
                {"--no-sandbox", &request->hasNoSandbox, "let the module use files, sockets and programs"},
                {"--only", &request->run.only,
                 "checks to run: a name, a group, or a pattern such as 'faults.without-*'; may be repeated"},
                {"--seed", &request->run.seed, "seed of the random sequences"},
                {.names = "--time-limit",
                 .target = &request->run.timeLimit,
                 .help = "maximum time of one check, in seconds",
                 .isPositive = true},
                {"--list", &request->listsOnly, "print all checks and run none"},
                {"--verbose", &request->isVerbose, "print every check, not only those that did not pass"},
                {"--json", &request->isJson, "print the results as JSON"},
                {"--junit", &request->junit, "write the results to a file as JUnit XML"},
            },
        .run = [request](const ProgramOptions& options) { return Check(options, *request); },
        .footer = kFooter,
    };
}
