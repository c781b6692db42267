// exit_checks.cpp - the end of the process. Modules are never unloaded, so they and their objects are still there.

#include <string>
#include <vector>

#include "host/checker/check.h"
#include "host/checker/exercise.h"

namespace checker {

namespace {

using host::ObjectReference;

constexpr const char* kEnding = "exiting";

// Works with the module in a process that then exits like a program, with destructors and exit handlers.
template <void (*kWork)(Stage&)>
std::string WorkBeforeExit(CheckContext& context, const std::string&) {
    static Stage* stage = new Stage(context.Module());  // never destroyed, see stage.h
    kWork(*stage);
    stage->watch.BeginStep(kEnding);
    stage->watch.isOver = true;
    return "done";
}

ChildResult EndOf(CheckContext& context) { return context.RunInChild("", 0.5, ChildExit::kNormal); }

void ExitsNormally(CheckContext& context) {
    const ChildResult child = EndOf(context);
    if (!child.Succeeded()) context.AddFinding("", "a process that exits with status 0", FailureText(child));
}

void CallsNothing(CheckContext& context) {
    const ChildResult child = EndOf(context);
    if (child.Succeeded() && child.step != kEnding) context.AddFinding("", "no call to the host", child.step);
}

void UseNothing(Stage&) {}

void UseAll(Stage& stage) {
    UseEveryClass(stage);
    ProvokeExceptions(stage);
}

void LeaveObjects(Stage& stage) {
    static std::vector<ObjectReference> objects;
    for (const host::Class* isa : stage.Classes()) objects.push_back(stage.New(*isa));
    // As in a program that does not clean up.
    for (ObjectReference& object : objects) object.Leak();
}

}  // namespace

std::vector<Check> ExitChecks() {
    return {
        {"after-load", "a process that only loaded the module exits normally",
         "a destructor relies on something that only use creates", ExitsNormally, Severity::kFailure,
         WorkBeforeExit<UseNothing>},
        {"after-use", "a process that used the module exits normally", "a destructor releases what is already gone",
         ExitsNormally, Severity::kFailure, WorkBeforeExit<UseAll>},
        {"with-objects", "a process exits normally while objects exist",
         "a destructor destroys objects that the host still holds", ExitsNormally, Severity::kFailure,
         WorkBeforeExit<LeaveObjects>},
        {"calls-nothing", "the module does not call the host while the process exits",
         "a destructor releases references; the host is gone by then", CallsNothing, Severity::kFailure,
         WorkBeforeExit<UseAll>},
    };
}

}  // namespace checker
