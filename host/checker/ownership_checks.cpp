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

constexpr int kRounds = 3;

// How many references a number of rounds leave behind, after a first one.
template <typename Round>
int LeftBehind(Stage& stage, Round round) {
    round();
    stage.watch.Settle();
    const int before = stage.watch.HeldReferences();
    for (int i = 0; i < kRounds; ++i) {
        round();
        stage.watch.Settle();
    }
    return stage.watch.HeldReferences() - before;
}

// Reports when every round leaves a reference behind.
void LeavesNothing(Examination& examination, const std::string& where, int left) {
    if (left < kRounds) return;
    examination.Report(where, "no reference left behind",
                       std::to_string(left) + " after " + std::to_string(kRounds) + " rounds");
}

void Construction(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        examination.Seen();
        LeavesNothing(examination, isa->Name(), LeftBehind(stage, [&] { stage.New(*isa); }));
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
            LeavesNothing(examination, MemberName(*isa, property),
                          LeftBehind(stage, [&] { stage.Read(object, property); }));
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
            const auto write = [&] { stage.Write(object, property, MakeValue(stage, property.declaration.result)); };
            LeavesNothing(examination, MemberName(*isa, property), LeftBehind(stage, write));
        }
    }
    examination.SkipUnlessSeen("no class has a writable property");
}

void Endings(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        const int left = LeftBehind(stage, [&] { stage.New(*isa); });  // the business of another check
        for (const Member& property : isa->Members()) {
            const TypeKind kind = property.declaration.result.kind;
            if (!IsWritable(property) || (kind != TypeKind::kObject && kind != TypeKind::kString)) continue;
            examination.Seen();
            const auto writeAndEnd = [&] {
                const ObjectReference object = stage.New(*isa);
                if (object) stage.Write(object, property, MakeValue(stage, property.declaration.result));
            };
            LeavesNothing(examination, MemberName(*isa, property), LeftBehind(stage, writeAndEnd) - left);
        }
    }
    examination.SkipUnlessSeen("no class has a writable property of a string or an object");
}

void Exceptions(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        const ObjectReference object = stage.New(*isa);
        if (!object) continue;
        const auto provoke = [&] {
            if (isa->FindConstructor(0) != nullptr) stage.Construct(object);
            CallMethodsWithNil(stage, object);
            CallSharedMethodsWithNil(stage, *isa);
        };
        LeavesNothing(examination, isa->Name(), LeftBehind(stage, provoke));
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
    if (stage.watch.calls[service::PluginGetStringData::kName] > 0) examination.Seen();
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

// Makes objects of a class, uses what of it is plain, and drops them; answers by how many bytes memory has grown.
std::ptrdiff_t GrowthByMaking(Stage& stage, const host::Class& isa, int count) {
    const std::size_t before = UsedMemory();
    for (int i = 0; i < count; ++i) {
        const ObjectReference object = stage.New(isa);
        for (const Member& property : isa.Members()) {
            const bool isPlain = IsProperty(property) && property.declaration.result.kind != TypeKind::kObject;
            if (!object || !isPlain) continue;
            const Value value = stage.Read(object, property).value;
            if (IsWritable(property)) stage.Write(object, property, value);
        }
    }
    stage.watch.Settle();
    stage.watch.ForgetNotes();
    stage.messages = std::vector<std::string>();
    return static_cast<std::ptrdiff_t>(UsedMemory() - before);
}

void MemoryFlat(Examination& examination) {
    constexpr int kObjects = 100;
    constexpr int kTimes = 4;
    constexpr std::ptrdiff_t kHalfOfSmallestBlock = 8;  // half, as something else may have shrunk meanwhile
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        examination.Seen();
        GrowthByMaking(stage, *isa, kObjects);
        const int held = stage.watch.HeldReferences();
        // A library may grow for itself now and then; what grows every time is lost. References left behind keep memory
        // in use too; they are the business of other checks.
        std::ptrdiff_t growth = 0;
        int times = 0;
        do growth = GrowthByMaking(stage, *isa, kObjects);
        while (growth >= kObjects * kHalfOfSmallestBlock && stage.watch.HeldReferences() == held && ++times < kTimes);
        if (times < kTimes) continue;
        examination.Report(isa->Name(), "the same memory in use after " + std::to_string(kObjects) + " more objects",
                           std::to_string(growth) + " bytes more");
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
            if (!stage.Write(object, property, MakeValue(stage, property.declaration.result)).IsGood()) continue;
            examination.Seen();
            const std::size_t breaches = stage.watch.breaches.size();
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
            if (ContentOf(stage, value) != before) continue;  // it changes by itself
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
