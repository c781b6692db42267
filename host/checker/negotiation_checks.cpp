// negotiation_checks.cpp - record versions and class registration for hosts of different versions.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "host/checker/check.h"
#include "host/checker/child.h"
#include "host/runtime/value.h"

namespace checker {

namespace {

// A host version, and the record version that a module must announce to it.
struct HostAge {
    const char* name;
    std::optional<double> version;  // empty: the host has no service that returns its version
    std::int32_t recordVersion;
};

// The first and the last version of each range, and hosts without a usable version.
constexpr HostAge kAges[] = {
    // check               host version                               record version
    {"version-2013.03", 2013.03, 12},     {"version-2013.02", 2013.02, 11},
    {"version-2013", 2013.0, 11},         {"version-2012.99", 2012.99, 10},
    {"version-2012", 2012.0, 10},         {"version-2011.99", 2011.99, 9},
    {"version-unknown", std::nullopt, 9}, {"version-nan", std::numeric_limits<double>::quiet_NaN(), 9},
};

void Announces(CheckContext& context, const HostAge& age) {
    Stage& stage = context.Load({.hostVersion = age.version, .hasVersion = age.version.has_value()});
    for (const std::int32_t announced : stage.watch.announced) {
        if (announced != age.recordVersion) {
            context.AddFinding("", "record version " + std::to_string(age.recordVersion), std::to_string(announced));
        }
    }
}

// Hosts 2007.009 to 2007.011 can load a module but cannot register classes; the versions just outside can.
struct GapHost {
    const char* name;
    double version;
    bool getsClasses;
};
constexpr GapHost kGapHosts[] = {
    // check               host version  gets classes
    {"before-2007.009", 2007.008, true}, {"skips-2007.009", 2007.009, false}, {"skips-2007.010", 2007.010, false},
    {"skips-2007.011", 2007.011, false}, {"after-2007.011", 2007.012, true},
};

void KeepsGap(CheckContext& context, const GapHost& host) {
    const std::size_t classes = context.Load({.hostVersion = host.version}).watch.records.size();
    if (host.getsClasses == (classes > 0)) return;
    context.AddFinding("", host.getsClasses ? "classes" : "no classes", classes > 0 ? std::to_string(classes) : "none");
}

void AnnouncesOnce(CheckContext& context) {
    const std::size_t times = context.Load().watch.announced.size();
    if (times != 1) context.AddFinding("", "one call of RegisterPluginVersion", std::to_string(times));
}

void AnnouncesFirst(CheckContext& context) {
    if (context.Load().watch.announcedLate) {
        context.AddFinding("", "RegisterPluginVersion before the first class", "the call after a class");
    }
}

// Returns every class and member, one per line.
std::string InterfaceText(const Stage& stage) {
    std::string text;
    for (const host::Class* isa : stage.module->classes) {
        text += isa->Name() + " under " + isa->SuperclassName() + "\n";
        for (const auto* members : {&isa->Members(), &isa->SharedMembers()}) {
            for (const host::Member& member : *members) {
                text += isa->Name() + "." + member.declaration.name + ParameterText(member.declaration) +
                        member.declaration.result.word + (member.setter != nullptr ? ", writable" : "") + "\n";
            }
        }
    }
    return text;
}

// Returns the first line of `other` that differs from `one`.
std::string FirstDifference(const std::string& one, const std::string& other) {
    const auto [first, second] = std::mismatch(one.begin(), one.end(), other.begin(), other.end());
    const auto position = static_cast<std::size_t>(second - other.begin());
    const std::size_t begin = position == 0 ? 0 : other.rfind('\n', position - 1) + 1;
    const std::string line = other.substr(begin, other.find('\n', begin) - begin);
    return line.empty() ? "fewer classes or members" : line;
}

void SameInterface(CheckContext& context) {
    const auto interfaceFor = [&](double version) {
        const auto work = [&] { return InterfaceText(Stage(context.Module(), {.hostVersion = version})); };
        const ChildResult child = RunInChild(work, std::chrono::duration<double>(context.TimeLimit() / 4));
        return child.Succeeded() ? child.text : FailureText(child);
    };
    // Versions from the middle of each range.
    const std::string newest = interfaceFor(2014.01);
    for (const double version : {2013.01, 2012.04, 2010.05}) {
        const std::string text = interfaceFor(version);
        if (text == newest) continue;
        context.AddFinding("", "the classes and members that the newest hosts get",
                           FirstDifference(newest, text) + " for host version " + host::NumberText(version));
    }
}

}  // namespace

std::vector<Check> NegotiationChecks() {
    std::vector<Check> checks = {
        {"announces-once", "the module announces its record version once",
         "one way through the entry point announces twice or never", AnnouncesOnce},
        {"announces-first", "the record version is announced before the first class is registered",
         "the host reads records by the announced version; announce it first", AnnouncesFirst},
    };
    for (const HostAge& age : kAges) {
        std::string host = "a host without a version";
        if (age.version) host = "host version " + host::NumberText(*age.version);
        if (age.version && std::isnan(*age.version)) host = "a host whose version is NaN";
        checks.push_back({age.name,
                          "for " + host + " the module announces record version " + std::to_string(age.recordVersion),
                          "the version is compared with a wrong limit, or not as a double",
                          [&age](CheckContext& context) { Announces(context, age); }});
    }
    for (const GapHost& each : kGapHosts) {
        checks.push_back({each.name,
                          "host version " + host::NumberText(each.version) +
                              (each.getsClasses ? " gets classes" : " gets no classes"),
                          "the gap of hosts 2007.009 to 2007.011 is missing or too wide",
                          [&each](CheckContext& context) { KeepsGap(context, each); }});
    }
    checks.push_back({"same-interface", "hosts with record versions 9 to 12 get the same classes and members",
                      "the conversion to the shorter layout is incomplete or missing", SameInterface});
    return checks;
}

}  // namespace checker
