// check.h - the words of the checker, and what a check is made of.
//
//   check    One rule of the host interface that is tried on a module: "registration.data-size".
//   finding  One observation that breaks the rule of a check, with its evidence: the subject (what was looked at), what
//            was expected there and what was found.
//   verdict  What a check ends with: passed, failed, crashed, warned or skipped. The whole run ends with the worst
//            verdict of its checks. See runner.h.
//
// A breach is not yet a finding. It is a forbidden call across the boundary, which the watch records during every check
// (watch.h). The checks for that kind of breach turn it into findings.
//
// Each check runs in its own process (check_process.h), which starts with no module loaded. The check loads what it
// needs onto a stage, tries its rule and adds findings to its context. A check that finds no subject for its rule (no
// class has such a property) is skipped and says why.
//
// Threads: the host's thread.
// Adding a check: a row in the list of its group (<group>_checks.cpp), and a fault of the same name in
//                 tests/checker/faulty_module.cpp. Then copy the output of zeva check --list into docs/checker.md.

#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/checker/child.h"
#include "host/checker/stage.h"

namespace checker {

// One observation that breaks a rule.
struct Finding {
    std::string subject;  // "Jug.Volume"; empty for the module as a whole
    std::string expected;
    std::string got;
};

// Thrown by a check that does not apply to this module.
struct SkipCheck {
    std::string reason;
};

// A check of a module: what the process that runs it has to know.
struct CheckCall {
    std::string check;  // its full name
    CheckedModule module;
    unsigned seed = 1;
    double timeLimit = 30;  // seconds
};

// Passed to every check: what is checked, and the findings so far.
class CheckContext {
  public:
    explicit CheckContext(CheckCall call) : call_(std::move(call)) {}

    [[nodiscard]] const std::string& Name() const { return call_.check; }
    [[nodiscard]] const CheckedModule& Module() const { return call_.module; }
    [[nodiscard]] unsigned Seed() const { return call_.seed; }

    // Runs the inChild of this check in a child process, with an argument. The time limit is a part of the one that the
    // check has. What the child's sandbox refused becomes findings.
    [[nodiscard]] ChildResult RunInChild(const std::string& argument = {}, double partOfLimit = 0.5,
                                         ChildExit childExit = ChildExit::kImmediate);

    // Puts this process into the sandbox, if the module is to be kept in one. From then on it starts no child: a check
    // without an inChild is in the sandbox from its beginning, any other one from Load on.
    void EnterSandbox();

    // Loads the module and its siblings onto a new stage. At most one call per process. Throws HostError when a module
    // cannot be loaded.
    Stage& Load(StageOptions options = {});

    void AddFinding(const std::string& subject, const std::string& expected, const std::string& got);

    // Counts a subject: something that the rule applies to.
    void CountSubject() { ++subjects_; }

    // Throws SkipCheck when there are neither subjects nor findings. A check calls it last.
    void SkipWithoutSubjects(const std::string& reason) const;

    // Adds what a sandbox refused.
    void AddTries(const std::vector<Try>& tries);

    [[nodiscard]] const std::vector<Finding>& Findings() const { return findings_; }

    // The first child that crashed: its stack and its last calls; empty if none did.
    [[nodiscard]] const std::vector<std::string>& Stack() const { return stack_; }
    [[nodiscard]] const std::vector<std::string>& Calls() const { return calls_; }

  private:
    CheckCall call_;
    int subjects_ = 0;
    std::vector<Finding> findings_;
    std::vector<std::string> stack_;
    std::vector<std::string> calls_;
};

// What every check expects of a module in a sandbox. A finding against it is a failure whatever the check's severity
// is.
inline constexpr const char* kSandboxRule = "no use of sockets, processes or files other than those that programs need";

// Returns the finding for something that a sandbox refused.
[[nodiscard]] Finding FindingOf(const Try& refused);

// The verdict that findings lead to.
enum class Severity {
    kFailure,       // failed: hosts rely on the rule
    kWarning,       // warned: breaking the rule may be intentional
    kPrerequisite,  // failed, and every later check is skipped
};

struct Check {
    std::string name;   // within its group
    std::string rule;   // a sentence without a period that holds for a correct module
    std::string cause;  // the likely cause when the rule is broken
    std::function<void(CheckContext&)> run;
    Severity severity = Severity::kFailure;

    // What the check does in a child process of its own (CheckContext::RunInChild).
    std::function<std::string(CheckContext&, const std::string& argument)> inChild = {};
};

struct Group {
    std::string name;
    std::vector<Check> checks;
};

// Returns every group, in the order in which the checks run.
[[nodiscard]] const std::vector<Group>& Groups();

// The lists of checks, one per group and file.
[[nodiscard]] std::vector<Check> LoadChecks();
[[nodiscard]] std::vector<Check> NegotiationChecks();
[[nodiscard]] std::vector<Check> RegistrationChecks();
[[nodiscard]] std::vector<Check> PropertyChecks();
[[nodiscard]] std::vector<Check> AttributeChecks();
[[nodiscard]] std::vector<Check> ErrorChecks();
[[nodiscard]] std::vector<Check> OwnershipChecks();
[[nodiscard]] std::vector<Check> BinaryDataChecks();
[[nodiscard]] std::vector<Check> FaultChecks();
[[nodiscard]] std::vector<Check> SequenceChecks();
[[nodiscard]] std::vector<Check> ExitChecks();

}  // namespace checker
