// check.h - what a check is: a rule of the host interface, and how to find out whether a module keeps it.
//
// A check runs in a process of its own with nothing loaded. It loads what it needs onto a stage, looks, and writes down
// what it finds; a check without findings has passed. What it cannot see on a module (no class has what the rule is
// about) it skips with the reason.
//
// Adding one: a row in the list of its group (<group>_checks.cpp), and its fault in tests/checker/faulty_module.cpp
//             under the check's name. docs/checker.md holds the list that zeva check --list prints.

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/checker/stage.h"

namespace checker {

// What breaks the rule, and where.
struct Finding {
    std::string subject;  // "Jug.Volume"; empty for the module as a whole
    std::string expected;
    std::string got;
};

// Thrown by a check that cannot be made on this module.
struct Skipped {
    std::string reason;
};

// What a check works with.
class Examination {
  public:
    Examination(const Subject& subject, unsigned seed, double timeLimit)
        : subject_(subject), seed_(seed), timeLimit_(timeLimit) {}

    const host::CallScope& CallScope() const { return subject_.callScope; }
    const Subject& TheSubject() const { return subject_; }
    unsigned Seed() const { return seed_; }

    // How many seconds a child of this check may take.
    double TimeLimit() const { return timeLimit_ / 2; }

    // The stage with everything loaded, made in this call; one per process.
    Stage& Load(StageOptions options = {});

    // Writes down a finding.
    void Report(const std::string& where, const std::string& expected, const std::string& got);

    // Counts something that the rule is about.
    void Seen() { ++seen_; }

    // To be called in the end: without anything seen and without findings the check is skipped.
    void SkipUnlessSeen(const std::string& reason) const;

    const std::vector<Finding>& Findings() const { return findings_; }

  private:
    const Subject& subject_;
    unsigned seed_;
    double timeLimit_;
    int seen_ = 0;
    std::vector<Finding> findings_;
};

// What becomes of a check with findings.
enum class Weight {
    kFailure,  // the module breaks a rule that hosts rely on
    kWarning,  // it can be meant, but rarely is
    kBasis,    // a failure, after which no further check can be made
};

struct Check {
    std::string name;   // within its group
    std::string rule;   // what holds, as a sentence without full stop
    std::string cause;  // what is the likely reason when it does not
    std::function<void(Examination&)> run;
    Weight weight = Weight::kFailure;
};

struct Group {
    std::string name;
    std::vector<Check> checks;
};

// All of them, in the order in which they are made.
const std::vector<Group>& Groups();

// The lists, one per file.
std::vector<Check> LoadChecks();
std::vector<Check> NegotiationChecks();
std::vector<Check> RegistrationChecks();
std::vector<Check> PropertyChecks();
std::vector<Check> AttributeChecks();
std::vector<Check> ErrorChecks();
std::vector<Check> OwnershipChecks();
std::vector<Check> BinaryDataChecks();
std::vector<Check> FaultChecks();
std::vector<Check> SequenceChecks();
std::vector<Check> ExitChecks();

}  // namespace checker
