// fault_checks.cpp - hosts that lack a service, or whose services fail. A module must survive both.

#include <map>
#include <string>
#include <string_view>

#include "host/checker/check.h"
#include "host/checker/exercise.h"
#include "host/runtime/services.h"

namespace checker {

namespace {

// Loads and uses the module while a service is missing or fails. The check has no findings; it passes unless the module
// crashes.
void SurvivesFault(CheckContext& context, const std::string& service, const ServiceFault& fault) {
    Stage& stage = context.Load({.faults = {{service, fault}}});
    UseEveryClass(stage);
    ProvokeExceptions(stage);
    if (stage.watch.lookups.contains(service)) context.CountSubject();
    context.SkipWithoutSubjects("the module never looks up " + service);
}

void LateServices(CheckContext& context) {
    Stage& stage = context.Load();
    std::map<std::string, ServiceFault> allMissing;
    for (const host::Service& service : host::Services()) {
        if (service.missing != service::Missing::kNeverMissing) allMissing[service.name] = {.isMissing = true};
    }
    stage.watch.SetFaults(allMissing);
    UseEveryClass(stage);
    ProvokeExceptions(stage);
    stage.watch.SetFaults({});
    UseEveryClass(stage);
    ProvokeExceptions(stage);
    for (const auto& [name, lookups] : stage.watch.lookups) {
        if (lookups.missed == 0 || !allMissing.contains(name)) continue;
        context.CountSubject();
        if (lookups.askedAfterFaults == 0)
            context.AddFinding(name, "another lookup once the host has the service", "no lookup");
    }
    context.SkipWithoutSubjects("the module looks up every service while it is loaded");
}

void LookedUpOnce(CheckContext& context) {
    Stage& stage = context.Load();
    UseEveryClass(stage);
    ProvokeExceptions(stage);
    for (const auto& [name, lookups] : stage.watch.lookups) {
        context.CountSubject();
        if (lookups.askedAfterFound == 0) continue;
        context.AddFinding(name, "one lookup", std::to_string(lookups.askedAfterFound) + " more after it was found");
    }
    context.SkipWithoutSubjects("the module looks up no service");
}

// Compares the number of exceptions with and without the other exception classes of the host.
void FallbackException(CheckContext& context) {
    Stage& stage = context.Load();
    stage.watch.raised.clear();
    ProvokeExceptions(stage);
    const std::size_t usually = stage.watch.raised.size();
    if (usually == 0) throw SkipCheck{"neither a second constructor call nor nil as an argument raised an exception"};
    stage.watch.lacksExceptionClasses = true;
    stage.watch.raised.clear();
    ProvokeExceptions(stage);
    const std::size_t now = stage.watch.raised.size();
    if (now == usually) return;
    context.AddFinding("", std::to_string(usually) + " exceptions of class RuntimeException", std::to_string(now));
}

}  // namespace

std::vector<Check> FaultChecks() {
    std::vector<Check> checks;
    for (const host::Service& service : host::Services()) {
        const std::string name = service.name;
        if (service.missing == service::Missing::kNeverMissing) continue;
        if (service.missing == service::Missing::kVersionIsZero) continue;  // the negotiation checks cover it
        checks.push_back({"without-" + name, "the module survives a host without " + name,
                          "the service is called without a test whether it was found",
                          [name](CheckContext& context) { SurvivesFault(context, name, {.isMissing = true}); }});
    }
    for (const host::Service& service : host::Services()) {
        if (service.failure == service::Failure::kCannotFail) continue;
        const std::string name = service.name;
        checks.push_back({"failing-" + name, "the module survives failures of " + name,
                          "the result is used without a test",
                          [name](CheckContext& context) { SurvivesFault(context, name, {.fails = true}); }});
    }
    checks.push_back({"late-services", "a service that was missing is looked up again",
                      "the module remembers the failed lookup", LateServices});
    checks.push_back({"looked-up-once", "a service that was found is not looked up again",
                      "the module does not keep the address", LookedUpOnce, Severity::kWarning});
    checks.push_back({"fallback-exception",
                      "the module raises a RuntimeException when its own exception class is missing",
                      "the error is lost when PluginNewInstance returns null", FallbackException});
    return checks;
}

}  // namespace checker
