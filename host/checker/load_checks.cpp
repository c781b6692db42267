// load_checks.cpp - what happens when a module is loaded, before any of its classes is used.

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <filesystem>

#include "host/checker/check.h"
#include "host/checker/child.h"
#include "host/runtime/errors.h"
#include "host/macho/load_object.h"
#include "host/runtime/services.h"
#include "host/runtime/suggestion.h"

namespace checker {

namespace {

void File(Examination& examination) {
    const std::filesystem::path& module = examination.TheSubject().module;
    NoteStep("opening " + module.string());
    if (!std::filesystem::exists(module)) return examination.Report("", "a file", "no file " + module.string());
    try {
        if (host::macho::IsMachO(module)) {
            host::macho::LoadObject(module);
        } else if (dlopen(std::filesystem::absolute(module).c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) {
            examination.Report("", "a library whose symbols are all found", dlerror());
        }
    } catch (const host::macho::ObjectError& error) {
        examination.Report("", "object code that can be loaded", error.what());
    }
}

void EntryPoint(Examination& examination) {
    NoteStep("looking for ZEVAPluginMain");
    try {
        host::LoadEntryPoint(examination.TheSubject().module);
    } catch (const host::HostError& error) {
        examination.Report("", "the exported function ZEVAPluginMain", error.Problem());
    }
}

void Returns(Examination& examination) { examination.Load(); }

void RaisesNothing(Examination& examination) {
    for (const RaiseNote& raised : examination.Load().watch.raised) {
        examination.Report("", "no exception while it is loaded", "a " + raised.className);
    }
}

void KnownServices(Examination& examination) {
    std::vector<std::string> known;
    for (const host::Service& service : host::Services()) known.emplace_back(service.name);
    for (const auto& [name, lookups] : examination.Load().watch.lookups) {
        if (host::ResolveService(name.c_str()) != nullptr) continue;
        examination.Report("", "names of services", "\"" + name + "\"" + host::Suggestion(name, known));
    }
}

void NamedServices(Examination& examination) {
    const int nameless = examination.Load().watch.namelessLookups;
    if (nameless > 0)
        examination.Report("", "a name in every lookup", std::to_string(nameless) + " null or empty ones");
}

void HostThread(Examination& examination) {
    Stage& stage = examination.Load();
    usleep(20'000);  // a thread that was started now has come so far
    const char* service = stage.watch.calledByOtherThread;
    if (service != nullptr) {
        examination.Report("", "all calls on the host's thread", std::string("a call of ") + service + " on another");
    }
}

// What of the process belongs to the program alone.
struct ProcessState {
    std::string folder = std::filesystem::current_path().string();
    std::string locale = std::setlocale(LC_ALL, nullptr);
    mode_t mask = 0;
    std::vector<void (*)(int)> handlers;  // of what ends programs; the platform's libraries have ones for the rest

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

void ProcessStays(Examination& examination) {
    const ProcessState before;
    examination.Load();
    const ProcessState after;
    if (after.folder != before.folder) {
        examination.Report("", "the working folder " + before.folder, after.folder);
    }
    if (after.locale != before.locale) examination.Report("", "the locale " + before.locale, after.locale);
    if (after.mask != before.mask) examination.Report("", "the same file creation mask", "another");
    if (after.handlers != before.handlers) examination.Report("", "the same signal handlers", "others");
}

void Quiet(Examination& examination) {
    examination.Load();
    std::fflush(nullptr);
    const off_t printed = lseek(STDOUT_FILENO, 0, SEEK_CUR);
    if (printed > 0) examination.Report("", "nothing printed", std::to_string(printed) + " bytes");
}

void AnyOrder(Examination& examination) {
    if (examination.TheSubject().siblings.empty()) throw Skipped{"the module was given no sibling (--with)"};
    const std::string siblingsFirst =
        RunInChild([&] { return std::to_string(Stage(examination.TheSubject()).module->classes.size()); },
                   std::chrono::duration<double>(examination.TimeLimit()))
            .answer;
    Stage& stage = examination.Load({.siblingsComeFirst = false});
    const std::string count = std::to_string(stage.module->classes.size());
    if (count != siblingsFirst) {
        examination.Report("", siblingsFirst + " classes, as when its siblings come first", count);
    }
}

}  // namespace

std::vector<Check> LoadChecks() {
    return {
        {"file", "the file can be loaded",
         "a library is missing, it is made for another machine, or a static constructor fails", File, Weight::kBasis},
        {"entry-point", "it exports ZEVAPluginMain", "the function is not exported, or not with C linkage", EntryPoint,
         Weight::kBasis},
        {"returns", "its entry point returns", "the entry point relies on a service or a class without looking",
         Returns, Weight::kBasis},
        {"raises-nothing", "it raises nothing while it is loaded",
         "an error at load has nobody to take it; stay silent", RaisesNothing},
        {"known-services", "every name that it looks up is a service of this host",
         "a misspelt name, or a service that only other hosts have", KnownServices, Weight::kWarning},
        {"named-services", "it never looks up a null or empty name", "a table of names with a gap or without its end",
         NamedServices},
        {"host-thread", "it calls the host on the host's thread only", "work was moved to a thread that calls back",
         HostThread},
        {"process-stays", "working folder, locale, file mask and signal handlers stay as they were",
         "a library that the module starts changes them", ProcessStays},
        {"quiet", "it prints nothing while it is loaded", "a message of the days of its making", Quiet,
         Weight::kWarning},
        {"any-order", "it registers the same classes when its siblings come after it",
         "registration depends on a sibling's class", AnyOrder},
    };
}

}  // namespace checker
