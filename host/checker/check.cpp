// check.cpp - the groups, and what a check writes down.

#include "host/checker/check.h"

namespace checker {

Stage& Examination::Load(StageOptions options) {
    // Never taken down, see stage.h; kept where the leak checker finds it.
    static Stage* stage = nullptr;
    stage = new Stage(subject_, std::move(options));
    return *stage;
}

void Examination::Report(const std::string& where, const std::string& expected, const std::string& got) {
    findings_.push_back({where, expected, got});
}

void Examination::SkipUnlessSeen(const std::string& reason) const {
    if (seen_ == 0 && findings_.empty()) throw Skipped{reason};
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
