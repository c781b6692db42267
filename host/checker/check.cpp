// check.cpp - the list of groups, and the context that collects the findings of a check.

#include "host/checker/check.h"

#include "host/checker/sandbox.h"

#include <utility>

namespace checker {

Stage& CheckContext::Load(StageOptions options) {
    // Never destroyed, see stage.h. The static pointer keeps it reachable for the leak checker.
    static Stage* stage = nullptr;
    EnterSandbox();
    stage = new Stage(call_.module, std::move(options));
    return *stage;
}

void CheckContext::EnterSandbox() {
    static bool isInside = false;
    const CheckedModule& module = call_.module;
    if (isInside || module.sandbox.empty()) return;
    isInside = true;
    Sandbox sandbox = {.folder = module.sandbox, .readable = {std::filesystem::absolute(module.path).parent_path()}};
    if (std::filesystem::is_directory(module.path)) sandbox.readable.push_back(std::filesystem::absolute(module.path));
    for (const std::filesystem::path& sibling : module.siblings) {
        sandbox.readable.push_back(std::filesystem::absolute(sibling).parent_path());
    }
    checker::EnterSandbox(sandbox);
}

void CheckContext::AddTries(const std::vector<Try>& tries) {
    for (const Try& refused : tries) findings_.push_back(FindingOf(refused));
}

Finding FindingOf(const Try& refused) { return {refused.step, kSandboxRule, refused.what}; }

void CheckContext::AddFinding(const std::string& subject, const std::string& expected, const std::string& got) {
    findings_.push_back({subject, expected, got});
}

void CheckContext::SkipWithoutSubjects(const std::string& reason) const {
    if (subjects_ == 0 && findings_.empty()) throw SkipCheck{reason};
}

const std::vector<Group>& Groups() {
    static const std::vector<Group> groups = {
        {"load", LoadChecks()},
        {"negotiation", NegotiationChecks()},
        {"registration", RegistrationChecks()},
        {"properties", PropertyChecks()},
        {"attributes", AttributeChecks()},
        {"errors", ErrorChecks()},
        {"ownership", OwnershipChecks()},
        {"binary-data", BinaryDataChecks()},
        {"faults", FaultChecks()},
        {"sequences", SequenceChecks()},
        {"exit", ExitChecks()},
    };
    return groups;
}

}  // namespace checker
