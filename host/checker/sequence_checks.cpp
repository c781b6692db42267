// sequence_checks.cpp - many objects, and calls in an order that nobody thought of.

#include <algorithm>
#include <random>

#include "host/checker/check.h"
#include "host/checker/child.h"
#include "host/checker/exercise.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;

// A number below a limit; the same on every machine for the same seed.
std::size_t Below(std::mt19937& random, std::size_t limit) { return random() % limit; }

// One random call after the other on some objects. Answers what each call gave, a line each.
std::string PlayRandomly(Stage& stage, unsigned seed, int steps) {
    constexpr std::size_t kObjects = 24;
    std::mt19937 random(seed);
    const std::vector<const host::Class*> classes = stage.Classes();
    std::vector<ObjectReference> objects(kObjects);
    std::string transcript;
    for (int step = 0; step < steps && !classes.empty(); ++step) {
        ObjectReference& object = objects[Below(random, kObjects)];
        if (!object) object = stage.New(*classes[Below(random, classes.size())]);
        const std::size_t action = Below(random, 8);
        const std::size_t which = random();
        if (action == 0) object = {};
        if (!object || object->isa->Members().empty()) continue;
        const auto& members = object->isa->Members();
        const Member& member = members[which % members.size()];
        if (!IsProperty(member)) continue;
        if (action < 4 && IsWritable(member)) {
            const host::Value value = MakeValue(stage, member.declaration.result, static_cast<int>(action));
            if (!IsNil(value)) stage.Write(object, member, value);
        } else {
            transcript += std::to_string(step) + " " + MemberName(*object->isa, member) + " = " +
                          Words(stage.Read(object, member).value) + "\n";
        }
        stage.watch.Settle();
    }
    objects.clear();
    stage.watch.Settle();
    return transcript;
}

constexpr int kSteps = 1000;

void Random(Examination& examination) {
    Stage& stage = examination.Load();
    PlayRandomly(stage, examination.Seed(), kSteps);
    if (!stage.Classes().empty()) examination.Seen();
    examination.SkipUnlessSeen("no class can have objects");
}

void Replay(Examination& examination) {
    const auto play = [&] {
        const auto work = [&] {
            Stage stage(examination.TheSubject());
            return PlayRandomly(stage, examination.Seed(), kSteps);
        };
        const Outcome outcome = RunInChild(work, std::chrono::duration<double>(examination.TimeLimit()));
        return outcome.EndedWell() ? outcome.answer : EndingText(outcome);
    };
    const std::string first = play(), second = play();
    if (first.empty()) throw Skipped{"no class has a property"};
    if (first == second) return;
    const auto [one, other] = std::mismatch(first.begin(), first.end(), second.begin(), second.end());
    const auto position = static_cast<std::size_t>(one - first.begin());
    const std::size_t line = position == 0 ? 0 : first.rfind('\n', position - 1) + 1;
    examination.Report("step " + first.substr(line, first.find('\n', line) - line), "the same the second time",
                       second.substr(std::min(line, second.size()), second.find('\n', line) - line));
}

void ManyObjects(Examination& examination) {
    constexpr int kObjects = 3000;
    Stage& stage = examination.Load();
    const std::vector<const host::Class*> classes = stage.Classes();
    if (classes.empty()) throw Skipped{"no class can have objects"};
    static std::vector<ObjectReference> objects;
    for (int i = 0; i < kObjects; ++i) {
        objects.push_back(stage.New(*classes[static_cast<std::size_t>(i) % classes.size()]));
        // One that cannot be made at all is the business of other checks.
        const bool couldAtFirst =
            i >= static_cast<int>(classes.size()) && objects[static_cast<std::size_t>(i) % classes.size()];
        if (couldAtFirst && !objects.back()) {
            return examination.Report("", std::to_string(kObjects) + " objects at a time", std::to_string(i));
        }
    }
}

// Objects of one class end in the order in which they were made, backwards, and from the middle.
void EndingOrders(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        for (const std::array<int, 3>& order : {std::array{0, 1, 2}, std::array{2, 1, 0}, std::array{1, 0, 2}}) {
            ObjectReference objects[3];
            for (ObjectReference& object : objects) object = stage.New(*isa);
            examination.Seen();
            for (const int each : order) {
                objects[each] = {};
                stage.watch.Settle();
                for (const ObjectReference& object : objects) {
                    if (!object) continue;
                    for (const Member& property : isa->Members()) {
                        if (IsProperty(property)) stage.Read(object, property);
                    }
                }
            }
        }
    }
    examination.SkipUnlessSeen("no class can have objects");
}

}  // namespace

std::vector<Check> SequenceChecks() {
    return {
        {"random", "random calls on two dozen objects bring nothing down (--seed)",
         "objects of the module know of each other", Random},
        {"replay", "the same calls give the same answers again",
         "an answer depends on time, on an address or on memory never set", Replay, Weight::kWarning},
        {"many-objects", "there can be 3000 objects at a time", "objects are kept in a table of fixed size",
         ManyObjects},
        {"ending-orders", "objects can end in any order",
         "objects are linked with each other, and an end cuts the chain", EndingOrders},
    };
}

}  // namespace checker
