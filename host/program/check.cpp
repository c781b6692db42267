// check.cpp - "zeva check", whether a module keeps the host interface.

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <fstream>

#include "host/checker/report.h"
#include "host/program/commands.h"
#include "host/program/platform_pool.h"
#include "host/runtime/errors.h"

namespace {

namespace fs = std::filesystem;

// What the command line asks for.
struct Request {
    fs::path module;
    std::vector<fs::path> siblings;
    bool isAlone = false;
    checker::RunOptions run;
    bool listsOnly = false;
    bool isVerbose = false;
    bool isJson = false;
    fs::path junit;
};

constexpr const char* kFooter =
    "Each check runs in a process of its own. A sibling is a module that brings classes which this one needs; unless\n"
    "--with or --alone says otherwise it is companion.so, beside the module or beside this program's own modules.\n"
    "Exit status: 0 when no check failed or crashed, 1 when one did, 2 for wrong usage.";

// The companion beside the module, else the one of this build; none for the companion itself.
std::vector<fs::path> UsualSiblings(const fs::path& module) {
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

// How far results have come is told as they come, unless they are for a program.
int Check(const SessionOptions& session, Request& request) {
    if (request.listsOnly) {
        std::printf("%s", checker::ListOfChecks(request.run.only).c_str());
        return 0;
    }
    if (request.module.empty()) throw CLI::RequiredError("MODULE");
    if (request.siblings.empty() && !request.isAlone) request.siblings = UsualSiblings(request.module);
    if (!session.trace.empty())
        throw host::HostError("--trace", "checks run in processes of their own, none is traced");
    checker::SelectedChecks(request.run.only);  // an unknown name is told before anything is printed
    const checker::CheckedModule module{request.module, request.siblings, PlatformPool(), session.hostVersion};

    checker::TextReport text(stdout, request.isVerbose);
    if (!request.isJson) {
        std::printf("%s", request.module.c_str());
        for (const fs::path& sibling : request.siblings) std::printf(" with %s", sibling.c_str());
        std::printf(", host version %s\n\n", host::NumberText(session.hostVersion).c_str());
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
    if (!request.junit.empty()) {
        std::ofstream file(request.junit);
        if (!(file << checker::JunitReport(request.module, results) << std::flush)) {
            throw host::HostError(request.junit.string(), "it cannot be written");
        }
    }
    return checker::IsBad(checker::VerdictOfRun(results));
}

}  // namespace

void AddCheck(CLI::App& program, const SessionOptions& session) {
    CLI::App* check = program.add_subcommand("check", "Checks whether a module keeps the host interface.");
    const auto request = std::make_shared<Request>();
    check->add_option("MODULE", request->module, "module to check");
    check->add_option("--with", request->siblings, "module to load beside it, once for each");
    check->add_flag("--alone", request->isAlone, "load no module beside it");
    check->add_option("--only", request->run.only,
                      "checks to make: a name, a group, or a pattern such as 'faults.without-*'");
    check->add_option("--seed", request->run.seed, "seed of the random sequences")->capture_default_str();
    check->add_option("--time-limit", request->run.timeLimit, "seconds that one check may take")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    check->add_flag("--list", request->listsOnly, "print all checks and make none");
    check->add_flag("--verbose", request->isVerbose, "print every check, not only those that did not pass");
    check->add_flag("--json", request->isJson, "print the results as JSON");
    check->add_option("--junit", request->junit, "write the results to a file as JUnit XML");
    check->footer(kFooter);
    check->callback([request, &session] {
        if (Check(session, *request) != 0) throw CLI::RuntimeError(1);
    });
}
