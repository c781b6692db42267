// exit_checks.cpp - a module is never unloaded: the process ends with it inside, and with whatever objects there are.

#include "host/checker/check.h"
#include "host/checker/child.h"
#include "host/checker/exercise.h"

namespace checker {

namespace {

using host::ObjectReference;

constexpr const char* kEnding = "ending the process";

// Ends a process as programs end, after some work with the module in it.
template <typename Work>
Outcome EndAfter(const Examination& examination, Work work) {
    const auto all = [&] {
        static Stage* stage = new Stage(examination.TheSubject());  // never taken down, as stage.h says
        work(*stage);
        stage->watch.BeginStep(kEnding);
        stage->watch.isOver = true;
        return std::string("done");
    };
    return RunInChild(all, std::chrono::duration<double>(examination.TimeLimit()), Ending::kAsPrograms);
}

template <typename Work>
void EndsWell(Examination& examination, Work work) {
    const Outcome outcome = EndAfter(examination, work);
    if (!outcome.EndedWell()) examination.Report("", "a process that ends with status 0", EndingText(outcome));
}

void UseAll(Stage& stage) {
    Use(stage);
    Provoke(stage);
}

void AfterLoad(Examination& examination) {
    EndsWell(examination, [](Stage&) {});
}

void AfterUse(Examination& examination) { EndsWell(examination, UseAll); }

void WithObjects(Examination& examination) {
    EndsWell(examination, [](Stage& stage) {
        static std::vector<ObjectReference> objects;
        for (const host::Class* isa : stage.Classes()) objects.push_back(stage.New(*isa));
        for (ObjectReference& object : objects) object.Leak();  // as in a program that does not tidy up
    });
}

void CallsNothing(Examination& examination) {
    const Outcome outcome = EndAfter(examination, UseAll);
    if (outcome.EndedWell() && outcome.step != kEnding) examination.Report("", "no call of the host", outcome.step);
}

}  // namespace

std::vector<Check> ExitChecks() {
    return {
        {"after-load", "a process that has only loaded it can end",
         "a destructor takes for granted that something was used", AfterLoad},
        {"after-use", "a process that has used it can end", "a destructor tidies up what has gone already", AfterUse},
        {"with-objects", "a process can end while there are objects",
         "a destructor ends objects that the host still has", WithObjects},
        {"calls-nothing", "it does not call the host while the process ends",
         "a destructor gives back references; the host is gone", CallsNothing},
    };
}

}  // namespace checker
