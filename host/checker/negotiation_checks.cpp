// negotiation_checks.cpp - record versions and class registration for hosts of different versions.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <optional>
#include <string>

#include "host/checker/check.h"
#include "host/runtime/value.h"
#include "interface/host_version.h"

namespace checker {

namespace {

// A host version, and the record version that a module must announce to it.
struct HostAge {
    std::string name;               // of the check
    std::optional<double> version;  // empty: the host has no service that returns its version
    std::int32_t recordVersion;
};

// The first version of each range, and the one a hundredth below it; then the hosts without a usable version.
std::vector<HostAge> Ages() {
    std::vector<HostAge> ages;
    const auto add = [&](double version, std::int32_t recordVersion) {
        ages.push_back({"version-" + host::NumberText(version), version, recordVersion});
    };
    for (const ZEVAversionStep* step = std::begin(kVersionSteps); step != std::end(kVersionSteps); ++step) {
        const bool isLast = step + 1 == std::end(kVersionSteps);
        add(step->hostVersion, step->recordVersion);
        add(std::round(step->hostVersion * 100 - 1) / 100, isLast ? kOldestRecordVersion : step[1].recordVersion);
    }
    ages.push_back({"version-unknown", std::nullopt, kOldestRecordVersion});
    ages.push_back({"version-nan", std::numeric_limits<double>::quiet_NaN(), kOldestRecordVersion});
    return ages;
}

void Announces(CheckContext& context, const HostAge& age) {
    Stage& stage = context.Load({.hostVersion = age.version, .hasVersion = age.version.has_value()});
    for (const std::int32_t announced : stage.watch.announced) {
        if (announced != age.recordVersion) {
            context.AddFinding("", "record version " + std::to_string(age.recordVersion), std::to_string(announced));
        }
    }
}

// A host in the gap of versions that get no classes, or next to it.
struct GapHost {
    std::string name;  // of the check
    double version;
    bool getsClasses;
};

// The hosts of the gap, and the neighbor on either side.
std::vector<GapHost> GapHosts() {
    constexpr std::uint32_t kLastSkippedHost = kFirstSkippedHost + kSkippedHosts - 1;
    const auto text = [](std::uint32_t thousandths) {
        std::string digits = std::to_string(thousandths);
        return digits.insert(digits.size() - 3, ".");
    };
    std::vector<GapHost> hosts = {{"before-" + text(kFirstSkippedHost), (kFirstSkippedHost - 1) / 1000.0, true}};
    for (std::uint32_t host = kFirstSkippedHost; host <= kLastSkippedHost; ++host) {
        hosts.push_back({"skips-" + text(host), host / 1000.0, false});
    }
    hosts.push_back({"after-" + text(kLastSkippedHost), (kLastSkippedHost + 1) / 1000.0, true});
    return hosts;
}

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

std::string InterfaceForVersion(CheckContext& context, const std::string& version) {
    return InterfaceText(Stage(context.Module(), {.hostVersion = std::strtod(version.c_str(), nullptr)}));
}

void SameInterface(CheckContext& context) {
    const auto interfaceFor = [&](double version) {
        const ChildResult child = context.RunInChild(host::NumberText(version), 1.0 / 8);
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
    for (const HostAge& age : Ages()) {
        std::string host = "a host without a version";
        if (age.version) host = "host version " + host::NumberText(*age.version);
        if (age.version && std::isnan(*age.version)) host = "a host whose version is NaN";
        checks.push_back({age.name,
                          "for " + host + " the module announces record version " + std::to_string(age.recordVersion),
                          "the version is compared with a wrong limit, or not as a double",
                          [age](CheckContext& context) { Announces(context, age); }});
    }
    for (const GapHost& each : GapHosts()) {
        checks.push_back({each.name,
                          "host version " + host::NumberText(each.version) +
                              (each.getsClasses ? " gets classes" : " gets no classes"),
                          "the gap of hosts 2007.009 to 2007.011 is missing or too wide",
                          [each](CheckContext& context) { KeepsGap(context, each); }});
    }
    checks.push_back({"same-interface", "hosts with record versions 9 to 12 get the same classes and members",
                      "the conversion to the shorter layout is incomplete or missing", SameInterface,
                      Severity::kFailure, InterfaceForVersion});
    return checks;
}

}  // namespace checker
