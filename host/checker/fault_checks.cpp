// fault_checks.cpp - hosts that lack a service, or whose services fail: a module does without, and lives on.

#include <algorithm>

#include "host/checker/check.h"
#include "host/checker/exercise.h"
#include "host/runtime/services.h"

namespace checker {

namespace {

// Loads and uses the module while a service misbehaves. Coming through is all that is asked.
void ComesThrough(Examination& examination, const std::string& service, const ServiceFault& fault) {
    Stage& stage = examination.Load({.faults = {{service, fault}}});
    Use(stage);
    Provoke(stage);
    if (stage.watch.lookups.contains(service)) examination.Seen();
    examination.SkipUnlessSeen("it never asks for " + service);
}

void Late(Examination& examination) {
    Stage& stage = examination.Load();
    std::map<std::string, ServiceFault> allMissing;
    for (const host::Service& service : host::Services()) {
        if (service.missing != service::Missing::kNeverMissing) allMissing[service.name] = {.isMissing = true};
    }
    stage.watch.SetFaults(allMissing);
    Use(stage);
    Provoke(stage);
    stage.watch.SetFaults({});
    Use(stage);
    Provoke(stage);
    for (const auto& [name, lookups] : stage.watch.lookups) {
        if (lookups.missed == 0 || !allMissing.contains(name)) continue;
        examination.Seen();
        if (lookups.askedAfterFaults == 0)
            examination.Report(name, "it to be looked up again once the host has it", "no lookup");
    }
    examination.SkipUnlessSeen("it looks up every service while it is loaded");
}

void LookedUpOnce(Examination& examination) {
    Stage& stage = examination.Load();
    Use(stage);
    Provoke(stage);
    for (const auto& [name, lookups] : stage.watch.lookups) {
        examination.Seen();
        if (lookups.askedAfterFound == 0) continue;
        examination.Report(name, "one lookup", std::to_string(lookups.askedAfterFound) + " more after it was found");
    }
    examination.SkipUnlessSeen("it looks up no service");
}

// Which calls raise a RuntimeException when the host has no other exception class, of those that raise at all.
void FallbackException(Examination& examination) {
    Stage& stage = examination.Load();
    stage.watch.raised.clear();
    Provoke(stage);
    const std::size_t usually = stage.watch.raised.size();
    if (usually == 0) throw Skipped{"nothing made it raise anything"};
    stage.watch.lacksExceptionClasses = true;
    stage.watch.raised.clear();
    Provoke(stage);
    const std::size_t now = stage.watch.raised.size();
    if (now == usually) return;
    examination.Report("", std::to_string(usually) + " exceptions, as RuntimeException", std::to_string(now));
}

}  // namespace

std::vector<Check> FaultChecks() {
    std::vector<Check> checks;
    for (const host::Service& service : host::Services()) {
        const std::string name = service.name;
        if (service.missing == service::Missing::kNeverMissing) continue;
        if (service.missing == service::Missing::kVersionIsZero) continue;  // the negotiation checks cover it
        checks.push_back({"without-" + name, "it lives in a host without " + name,
                          "the service is called without looking whether it was found",
                          [name](Examination& at) { ComesThrough(at, name, {.isMissing = true}); }});
    }
    for (const host::Service& service : host::Services()) {
        if (service.failure == service::Failure::kCannotFail) continue;
        const std::string name = service.name;
        checks.push_back({"failing-" + name, "it lives when " + name + " fails",
                          "the answer is used without being looked at",
                          [name](Examination& at) { ComesThrough(at, name, {.fails = true}); }});
    }
    checks.push_back(
        {"late-services", "a service that was missing is looked up again", "the failed lookup is kept", Late});
    checks.push_back({"looked-up-once", "a service that was found is not looked up again", "the address is not kept",
                      LookedUpOnce, Weight::kWarning});
    checks.push_back({"fallback-exception", "without its own exception class it raises a RuntimeException",
                      "the error is lost when PluginNewInstance answers null", FallbackException});
    return checks;
}

}  // namespace checker
