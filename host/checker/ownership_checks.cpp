// ownership_checks.cpp - references: who holds how many, and what is left when all is done.
//
// What a module holds after one round it may keep for later; what it holds more of after each further round is lost.

#include <malloc.h>

#include "host/checker/check.h"
#include "host/checker/exercise.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;
using host::TypeKind;
using host::Value;

// Plays a round several times and reports when each leaves more references behind.
template <typename Round>
void LeavesNothing(Examination& examination, Stage& stage, const std::string& where, Round round) {
    round();
    stage.watch.Settle();
    const int before = stage.watch.HeldReferences();
    constexpr int kRounds = 3;
    for (int i = 0; i < kRounds; ++i) {
        round();
        stage.watch.Settle();
    }
    const int left = stage.watch.HeldReferences() - before;
    if (left >= kRounds) {
        examination.Report(where, "no reference left behind",
                           std::to_string(left) + " after " + std::to_string(kRounds) + " rounds");
    }
}

void Construction(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        examination.Seen();
        LeavesNothing(examination, stage, isa->Name(), [&] { stage.New(*isa); });
    }
    examination.SkipUnlessSeen("no class can have objects");
}

void Reads(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        const ObjectReference object = stage.New(*isa);
        for (const Member& property : isa->Members()) {
            if (!object || !IsProperty(property)) continue;
            examination.Seen();
            LeavesNothing(examination, stage, MemberName(*isa, property), [&] { stage.Read(object, property); });
        }
    }
    examination.SkipUnlessSeen("no class has a property");
}

void Writes(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        const ObjectReference object = stage.New(*isa);
        for (const Member& property : isa->Members()) {
            if (!object || !IsWritable(property)) continue;
            examination.Seen();
            LeavesNothing(examination, stage, MemberName(*isa, property),
                          [&] { stage.Write(object, property, MakeValue(stage, property.declaration.result)); });
        }
    }
    examination.SkipUnlessSeen("no class has a writable property");
}

void Endings(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            const TypeKind kind = property.declaration.result.kind;
            if (!IsWritable(property) || (kind != TypeKind::kObject && kind != TypeKind::kString)) continue;
            examination.Seen();
            LeavesNothing(examination, stage, MemberName(*isa, property), [&] {
                const ObjectReference object = stage.New(*isa);
                if (object) stage.Write(object, property, MakeValue(stage, property.declaration.result));
            });
        }
    }
    examination.SkipUnlessSeen("no class has a writable property of a string or an object");
}

void Exceptions(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        const ObjectReference object = stage.New(*isa);
        if (!object) continue;
        LeavesNothing(examination, stage, isa->Name(), [&] {
            if (isa->FindConstructor(0) != nullptr) stage.Construct(object);
            CallMethodsWithNil(stage, object);
            CallSharedMethodsWithNil(stage, *isa);
        });
    }
    if (!stage.watch.raised.empty()) examination.Seen();
    examination.SkipUnlessSeen("nothing made it raise anything");
}

// Reports every breach of one kind that a tour of everything brings about.
void NoBreach(Examination& examination, Breach kind, const char* expected) {
    Stage& stage = examination.Load();
    Use(stage);
    Provoke(stage);
    for (const BreachNote& breach : stage.watch.breaches) {
        if (breach.breach == kind) examination.Report(breach.step, expected, breach.got);
    }
}

void StringBytes(Examination& examination) {
    Stage& stage = examination.Load();
    Use(stage);
    Provoke(stage);
    if (stage.watch.calls["PluginGetStringData"] > 0) examination.Seen();
    if (stage.watch.LentStrings() > 0) {
        examination.Report("", "all bytes of strings given back", std::to_string(stage.watch.LentStrings()) + " kept");
    }
    for (const BreachNote& breach : stage.watch.breaches) {
        if (breach.breach == Breach::kStringNotLent)
            examination.Report(breach.step, "bytes given back once", breach.got);
    }
    examination.SkipUnlessSeen("it never asked for the bytes of a string");
}

// How many bytes of the process's memory are in use.
std::size_t UsedMemory() { return mallinfo2().uordblks; }

void MemoryFlat(Examination& examination) {
    // Less than this is what a library keeps for itself; a lost block per round is more.
    constexpr std::size_t kAllowed = 4096;
    constexpr int kRounds = 100;
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        const auto rounds = [&](int count) {
            for (int i = 0; i < count; ++i) {
                const ObjectReference object = stage.New(*isa);
                for (const Member& property : isa->Members()) {
                    const bool isPlain = IsProperty(property) && property.declaration.result.kind != TypeKind::kObject;
                    if (!object || !isPlain) continue;
                    const Value value = stage.Read(object, property).value;
                    if (IsWritable(property)) stage.Write(object, property, value);
                }
            }
            stage.watch.Settle();
        };
        examination.Seen();
        rounds(kRounds);
        const std::size_t before = UsedMemory();
        rounds(kRounds);
        const std::size_t after = UsedMemory();
        if (after <= before + kAllowed) continue;
        examination.Report(isa->Name(), "the same memory in use after " + std::to_string(kRounds) + " more objects",
                           std::to_string(after - before) + " bytes more");
    }
    examination.SkipUnlessSeen("no class can have objects");
}

void EndUnconstructed(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        examination.Seen();
        stage.NewUnconstructed(*isa);
        stage.watch.Settle();
    }
    examination.SkipUnlessSeen("no class can have objects");
}

// The plain properties of an object, a line each.
std::string ContentOf(Stage& stage, const ObjectReference& object) {
    std::string text;
    for (const Member& property : object->isa->Members()) {
        if (!IsProperty(property) || property.declaration.result.kind == TypeKind::kObject) continue;
        text += property.declaration.name + " = " + Words(stage.Read(object, property).value) + ", ";
    }
    return text + "an object";
}

void OwnersOutliveValues(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            const TypeKind kind = property.declaration.result.kind;
            if (!IsWritable(property) || (kind != TypeKind::kObject && kind != TypeKind::kString)) continue;
            const ObjectReference object = stage.New(*isa);
            if (!object) continue;
            const std::size_t breaches = stage.watch.breaches.size();
            if (!stage.Write(object, property, MakeValue(stage, property.declaration.result)).IsGood()) continue;
            examination.Seen();
            stage.watch.Settle();  // ends the value, unless the object holds it
            stage.Read(object, property);
            if (stage.watch.breaches.size() > breaches) {
                examination.Report(MemberName(*isa, property), "the value, which the object has taken a reference to",
                                   "something that has ended");
            }
        }
    }
    examination.SkipUnlessSeen("no class has a writable property of a string or an object");
}

void ValuesOutliveOwners(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            if (!IsProperty(property) || IsAttribute(property)) continue;
            if (property.declaration.result.kind != TypeKind::kObject) continue;
            ObjectReference owner = stage.New(*isa);
            if (!owner) continue;
            const Value written = MakeValue(stage, property.declaration.result);
            if (IsWritable(property) && !IsNil(written)) stage.Write(owner, property, written);
            const ObjectReference value = ObjectIn(stage.Read(owner, property).value);
            if (!value || value == owner) continue;
            examination.Seen();
            const std::string before = ContentOf(stage, value);
            owner = {};
            stage.watch.Settle();
            const std::string after = ContentOf(stage, value);
            if (before != after) examination.Report(MemberName(*isa, property), before, after);
        }
    }
    examination.SkipUnlessSeen("no class has a property that answers an object");
}

}  // namespace

std::vector<Check> OwnershipChecks() {
    return {
        {"construction", "an object that is made and dropped leaves nothing behind",
         "a reference taken by the constructor is not given back by finalize", Construction},
        {"reads", "reading leaves nothing behind", "the getter takes a reference beyond the one that it answers",
         Reads},
        {"writes", "writing again and again leaves nothing behind", "the setter does not give back the value before",
         Writes},
        {"endings", "an object that ends gives up the values written to it",
         "finalize does not give back what the setter took", Endings},
        {"exceptions", "raising leaves nothing behind", "the exception or its message is not given back after raising",
         Exceptions},
        {"objects-given-back", "only references that are held are given back to objects",
         "an argument is borrowed, or the reference was given back before",
         [](Examination& at) { NoBreach(at, Breach::kObjectNotHeld, "a reference that the module holds"); }},
        {"strings-given-back", "only references that are held are given back to strings",
         "an argument is borrowed, or the reference was given back before",
         [](Examination& at) { NoBreach(at, Breach::kStringNotHeld, "a reference that the module holds"); }},
        {"answers", "what is answered comes with a reference for the host",
         "the getter answers its own reference; lock first",
         [](Examination& at) { NoBreach(at, Breach::kAnswerNotHeld, "a reference for the host"); }},
        {"known-handles", "the host is only given handles that it gave",
         "a pointer of the module's own passes for a handle",
         [](Examination& at) { NoBreach(at, Breach::kUnknownHandle, "a handle of this host"); }},
        {"string-bytes", "bytes of strings are given back, once", "PluginDisposeStringData is missing on one way out",
         StringBytes},
        {"memory-flat", "memory does not grow with the number of objects made and dropped",
         "memory of the module's own is not freed by finalize", MemoryFlat},
        {"end-unconstructed", "an object that no constructor has seen can end",
         "finalize takes for granted what the constructor makes", EndUnconstructed},
        {"owners-outlive-values", "an object keeps what was written to it",
         "the setter keeps the handle without locking it", OwnersOutliveValues},
        {"values-outlive-owners", "an object that was read lives on when its owner has ended",
         "the answer borrows from its owner's data", ValuesOutliveOwners},
    };
}

}  // namespace checker
