// check.cpp - the list of groups, and the context that collects the findings of a check.

#include "host/checker/check.h"

#include <utility>

namespace checker {

Stage& CheckContext::Load(StageOptions options) {
    // Never destroyed, see stage.h. The static pointer keeps it reachable for the leak checker.
    static Stage* stage = nullptr;
    stage = new Stage(call_.module, std::move(options));
    return *stage;
}

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
