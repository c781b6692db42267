// exit_checks.cpp - the end of the process. Modules are never unloaded, so they and their objects are still there.

#include <chrono>
#include <string>
#include <vector>

#include "host/checker/check.h"
#include "host/checker/child.h"
#include "host/checker/exercise.h"

namespace checker {

namespace {

using host::ObjectReference;

constexpr const char* kEnding = "exiting";

// Works with the module in a child process that then exits like a program, with destructors and exit handlers.
template <typename Work>
ChildResult EndAfter(const CheckContext& context, Work work) {
    const auto all = [&] {
        static Stage* stage = new Stage(context.Module());  // never destroyed, see stage.h
        work(*stage);
        stage->watch.BeginStep(kEnding);
        stage->watch.isOver = true;
        return std::string("done");
    };
    return RunInChild(all, std::chrono::duration<double>(context.TimeLimit()), ChildExit::kNormal);
}

template <typename Work>
void ExitsNormally(CheckContext& context, Work work) {
    const ChildResult child = EndAfter(context, work);
    if (!child.Succeeded()) context.AddFinding("", "a process that exits with status 0", FailureText(child));
}

void UseAll(Stage& stage) {
    UseEveryClass(stage);
    ProvokeExceptions(stage);
}

void AfterLoad(CheckContext& context) {
    ExitsNormally(context, [](Stage&) {});
}

void AfterUse(CheckContext& context) { ExitsNormally(context, UseAll); }

void WithObjects(CheckContext& context) {
    ExitsNormally(context, [](Stage& stage) {
        static std::vector<ObjectReference> objects;
        for (const host::Class* isa : stage.Classes()) objects.push_back(stage.New(*isa));
        // As in a program that does not clean up.
        for (ObjectReference& object : objects) object.Leak();
    });
}

void CallsNothing(CheckContext& context) {
    const ChildResult child = EndAfter(context, UseAll);
    if (child.Succeeded() && child.step != kEnding) context.AddFinding("", "no call to the host", child.step);
}

}  // namespace

std::vector<Check> ExitChecks() {
    return {
        {"after-load", "a process that only loaded the module exits normally",
         "a destructor relies on something that only use creates", AfterLoad},
        {"after-use", "a process that used the module exits normally", "a destructor releases what is already gone",
         AfterUse},
        {"with-objects", "a process exits normally while objects exist",
         "a destructor destroys objects that the host still holds", WithObjects},
        {"calls-nothing", "the module does not call the host while the process exits",
         "a destructor releases references; the host is gone by then", CallsNothing},
    };
}

}  // namespace checker
