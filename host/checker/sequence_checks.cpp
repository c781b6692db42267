// sequence_checks.cpp - many objects, random calls, and objects destroyed in different orders.

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "host/checker/check.h"
#include "host/checker/exercise.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;

// Returns a random number below a limit. The same seed gives the same numbers on every machine.
std::size_t Below(std::mt19937& random, std::size_t limit) { return random() % limit; }

// Makes random calls on random objects. Returns the value of each read, one per line.
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
                          ValueText(stage.Read(object, member).value) + "\n";
        }
        stage.watch.Settle();
    }
    objects.clear();
    stage.watch.Settle();
    return transcript;
}

constexpr int kSteps = 1000;

void Random(CheckContext& context) {
    Stage& stage = context.Load();
    PlayRandomly(stage, context.Seed(), kSteps);
    if (!stage.Classes().empty()) context.CountSubject();
    context.SkipWithoutSubjects("no class can have objects");
}

std::string Play(CheckContext& context, const std::string&) {
    Stage stage(context.Module());
    return PlayRandomly(stage, context.Seed(), kSteps);
}

void Replay(CheckContext& context) {
    const auto play = [&] {
        const ChildResult child = context.RunInChild();
        return child.Succeeded() ? child.text : FailureText(child);
    };
    const std::string first = play(), second = play();
    if (first.empty()) throw SkipCheck{"no class has a property"};
    if (first == second) return;
    const auto [one, other] = std::mismatch(first.begin(), first.end(), second.begin(), second.end());
    const auto position = static_cast<std::size_t>(one - first.begin());
    const std::size_t line = position == 0 ? 0 : first.rfind('\n', position - 1) + 1;
    context.AddFinding("step " + first.substr(line, first.find('\n', line) - line), "the same value the second time",
                       second.substr(std::min(line, second.size()), second.find('\n', line) - line));
}

void ManyObjects(CheckContext& context) {
    constexpr int kObjects = 3000;
    Stage& stage = context.Load();
    const std::vector<const host::Class*> classes = stage.Classes();
    if (classes.empty()) throw SkipCheck{"no class can have objects"};
    static std::vector<ObjectReference> objects;
    for (int i = 0; i < kObjects; ++i) {
        objects.push_back(stage.New(*classes[static_cast<std::size_t>(i) % classes.size()]));
        // A class whose first object cannot be created either does not count: other checks report it.
        const bool couldBefore =
            i >= static_cast<int>(classes.size()) && objects[static_cast<std::size_t>(i) % classes.size()];
        if (couldBefore && !objects.back()) {
            return context.AddFinding("", std::to_string(kObjects) + " objects at a time", std::to_string(i));
        }
    }
}

// Destroys three objects of a class in the order of creation, backward, and starting from the middle.
void EndingOrders(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        for (const std::array<int, 3>& order : {std::array{0, 1, 2}, std::array{2, 1, 0}, std::array{1, 0, 2}}) {
            ObjectReference objects[3];
            for (ObjectReference& object : objects) object = stage.New(*isa);
            context.CountSubject();
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
    context.SkipWithoutSubjects("no class can have objects");
}

}  // namespace

std::vector<Check> SequenceChecks() {
    return {
        {"random", "random calls on 24 objects do not crash the module (--seed)",
         "an object refers to another one that is already destroyed", Random},
        {"replay", "the same calls give the same results again",
         "a result depends on time, on an address or on uninitialized memory", Replay, Severity::kWarning, Play},
        {"many-objects", "3000 objects can exist at the same time", "objects are kept in a table of fixed size",
         ManyObjects},
        {"ending-orders", "objects can be destroyed in any order",
         "objects are linked, and destroying one breaks the chain", EndingOrders},
    };
}

}  // namespace checker
