// load_checks.cpp - the loading of a module, before any of its classes is used.

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "host/checker/check.h"
#include "host/checker/child.h"
#include "host/macho/load_object.h"
#include "host/runtime/errors.h"
#include "host/runtime/services.h"
#include "host/runtime/suggestion.h"

namespace checker {

namespace {

void File(CheckContext& context) {
    const std::filesystem::path& module = context.Module().path;
    NoteStep("opening " + module.string());
    if (!std::filesystem::exists(module)) return context.AddFinding("", "a file", "no file " + module.string());
    try {
        const std::filesystem::path file = host::macho::CodeFile(module);
        if (host::macho::IsMachO(file)) {
            host::macho::LoadObject(file);
        } else if (dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) {
            context.AddFinding("", "a library whose symbols can all be resolved", dlerror());
        }
    } catch (const host::macho::ObjectError& error) {
        context.AddFinding("", "object code that can be loaded", error.what());
    }
}

void EntryPoint(CheckContext& context) {
    NoteStep("looking for ZEVAPluginMain");
    try {
        host::LoadEntryPoint(context.Module().path);
    } catch (const host::HostError& error) {
        context.AddFinding("", "the exported function ZEVAPluginMain", error.Problem());
    }
}

void Returns(CheckContext& context) { context.Load(); }

void RaisesNothing(CheckContext& context) {
    for (const RaiseNote& raised : context.Load().watch.raised) {
        context.AddFinding("", "no exception", "a " + raised.className);
    }
}

void KnownServices(CheckContext& context) {
    std::vector<std::string> known;
    for (const host::Service& service : host::Services()) known.emplace_back(service.name);
    for (const auto& [name, lookups] : context.Load().watch.lookups) {
        if (host::ResolveService(name.c_str()) != nullptr) continue;
        context.AddFinding("", "the name of a service", "\"" + name + "\"" + host::Suggestion(name, known));
    }
}

void NamedServices(CheckContext& context) {
    const int nameless = context.Load().watch.namelessLookups;
    if (nameless > 0)
        context.AddFinding("", "a name in every lookup", std::to_string(nameless) + " null or empty names");
}

void HostThread(CheckContext& context) {
    Stage& stage = context.Load();
    usleep(20'000);  // gives a thread that was started during loading the time to call
    const char* service = stage.watch.calledByOtherThread;
    if (service != nullptr) {
        context.AddFinding("", "all calls on the host's thread",
                           std::string("a call of ") + service + " on another thread");
    }
}

// The state of the process that only the program may change.
struct ProcessState {
    std::string folder = std::filesystem::current_path().string();
    std::string locale = std::setlocale(LC_ALL, nullptr);
    mode_t mask = 0;
    std::vector<void (*)(int)> handlers;  // of signals that end programs; the platform's libraries handle the others

    ProcessState() {
        mask = umask(0);
        umask(mask);
        for (const int number : {SIGINT, SIGTERM, SIGSEGV, SIGFPE}) {
            struct sigaction action = {};
            sigaction(number, nullptr, &action);
            handlers.push_back(action.sa_handler);
        }
    }
};

void ProcessStays(CheckContext& context) {
    const ProcessState before;
    context.Load();
    const ProcessState after;
    if (after.folder != before.folder) {
        context.AddFinding("", "the working directory " + before.folder, after.folder);
    }
    if (after.locale != before.locale) context.AddFinding("", "the locale " + before.locale, after.locale);
    if (after.mask != before.mask) context.AddFinding("", "the file creation mask unchanged", "another mask");
    if (after.handlers != before.handlers) context.AddFinding("", "the signal handlers unchanged", "other handlers");
}

void Quiet(CheckContext& context) {
    context.Load();
    std::fflush(nullptr);
    const off_t printed = lseek(STDOUT_FILENO, 0, SEEK_CUR);
    if (printed > 0) context.AddFinding("", "no output", std::to_string(printed) + " bytes");
}

std::string CountWithSiblingsFirst(CheckContext& context, const std::string&) {
    return std::to_string(Stage(context.Module()).module->classes.size());
}

void AnyOrder(CheckContext& context) {
    if (context.Module().siblings.empty()) throw SkipCheck{"the module is loaded without siblings (--with)"};
    const std::string siblingsFirst = context.RunInChild().text;
    Stage& stage = context.Load({.siblingsComeFirst = false});
    const std::string count = std::to_string(stage.module->classes.size());
    if (count != siblingsFirst) {
        context.AddFinding("", siblingsFirst + " classes, as when the siblings are loaded first", count);
    }
}

}  // namespace

std::vector<Check> LoadChecks() {
    return {
        {"file", "the file can be loaded",
         "a library is missing, the file is for another machine, or a static constructor fails", File,
         Severity::kPrerequisite},
        {"entry-point", "the module exports ZEVAPluginMain", "the function is not exported, or not with C linkage",
         EntryPoint, Severity::kPrerequisite},
        {"returns", "ZEVAPluginMain returns",
         "the entry point uses a service or a class without a test whether it exists", Returns,
         Severity::kPrerequisite},
        {"raises-nothing", "loading raises no exception",
         "nobody can catch an exception during loading; ignore the error instead", RaisesNothing},
        {"known-services", "the module looks up only services that this host has",
         "a misspelled name, or a service of other hosts", KnownServices, Severity::kWarning},
        {"named-services", "no lookup has a null or empty name",
         "the table of names has a gap, or its end is not recognized", NamedServices},
        {"host-thread", "the module calls the host on the host's thread only",
         "another thread of the module calls the host", HostThread},
        {"process-stays", "loading leaves working directory, locale, file mask and signal handlers unchanged",
         "a library that the module initializes changes them", ProcessStays},
        {"quiet", "loading prints nothing", "a debugging message was left in the module", Quiet, Severity::kWarning},
        {"any-order", "the same classes are registered when the siblings are loaded later",
         "registration depends on a sibling's class", AnyOrder, Severity::kFailure, CountWithSiblingsFirst},
    };
}

}  // namespace checker
