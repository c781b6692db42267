// ownership_checks.cpp - references and memory: what a module holds after its objects are gone.
//
// A module may keep references after the first round of calls, for example in a cache. References that grow with every
// further round are leaks.

#include <malloc.h>

#include <cstddef>
#include <string>
#include <vector>

#include "host/checker/check.h"
#include "host/checker/exercise.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;
using host::TypeKind;
using host::Value;

constexpr int kRounds = 3;

// Returns how many more references the module holds after kRounds rounds than after a first one.
template <typename Round>
int LeakedReferences(Stage& stage, Round round) {
    round();
    stage.watch.Settle();
    const int before = stage.watch.HeldReferences();
    for (int i = 0; i < kRounds; ++i) {
        round();
        stage.watch.Settle();
    }
    return stage.watch.HeldReferences() - before;
}

// Adds a finding when every round leaks a reference.
void ExpectNoLeak(CheckContext& context, const std::string& where, int leaked) {
    if (leaked < kRounds) return;
    context.AddFinding(where, "no leaked references",
                       std::to_string(leaked) + " after " + std::to_string(kRounds) + " rounds");
}

void Construction(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        context.CountSubject();
        ExpectNoLeak(context, isa->Name(), LeakedReferences(stage, [&] { stage.New(*isa); }));
    }
    context.SkipWithoutSubjects("no class can have objects");
}

void Reads(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        const ObjectReference object = stage.New(*isa);
        for (const Member& property : isa->Members()) {
            if (!object || !IsProperty(property)) continue;
            context.CountSubject();
            ExpectNoLeak(context, MemberName(*isa, property),
                         LeakedReferences(stage, [&] { stage.Read(object, property); }));
        }
    }
    context.SkipWithoutSubjects("no class has a property");
}

void Writes(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        const ObjectReference object = stage.New(*isa);
        for (const Member& property : isa->Members()) {
            if (!object || !IsWritable(property)) continue;
            context.CountSubject();
            const auto write = [&] { stage.Write(object, property, MakeValue(stage, property.declaration.result)); };
            ExpectNoLeak(context, MemberName(*isa, property), LeakedReferences(stage, write));
        }
    }
    context.SkipWithoutSubjects("no class has a writable property");
}

void Endings(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        const int leakedByCreation = LeakedReferences(stage, [&] { stage.New(*isa); });  // ownership.construction
        for (const Member& property : isa->Members()) {
            const TypeKind kind = property.declaration.result.kind;
            if (!IsWritable(property) || (kind != TypeKind::kObject && kind != TypeKind::kString)) continue;
            context.CountSubject();
            const auto writeAndEnd = [&] {
                const ObjectReference object = stage.New(*isa);
                if (object) stage.Write(object, property, MakeValue(stage, property.declaration.result));
            };
            ExpectNoLeak(context, MemberName(*isa, property), LeakedReferences(stage, writeAndEnd) - leakedByCreation);
        }
    }
    context.SkipWithoutSubjects("no class has a writable property of type string or object");
}

void ExceptionReferences(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        const ObjectReference object = stage.New(*isa);
        if (!object) continue;
        const auto provoke = [&] {
            if (isa->FindConstructor(0) != nullptr) stage.Construct(object);
            CallMethodsWithNil(stage, object);
            CallSharedMethodsWithNil(stage, *isa);
        };
        ExpectNoLeak(context, isa->Name(), LeakedReferences(stage, provoke));
    }
    if (!stage.watch.raised.empty()) context.CountSubject();
    context.SkipWithoutSubjects("neither a second constructor call nor nil as an argument raised an exception");
}

// Uses and misuses every class. Adds a finding for every breach of one kind.
void NoBreach(CheckContext& context, Breach kind, const char* expected) {
    Stage& stage = context.Load();
    UseEveryClass(stage);
    ProvokeExceptions(stage);
    for (const BreachNote& breach : stage.watch.breaches) {
        if (breach.breach == kind) context.AddFinding(breach.step, expected, breach.got);
    }
}

void StringBytes(CheckContext& context) {
    Stage& stage = context.Load();
    UseEveryClass(stage);
    ProvokeExceptions(stage);
    if (stage.watch.calls[service::PluginGetStringData::kName] > 0) context.CountSubject();
    if (stage.watch.LentStrings() > 0) {
        context.AddFinding("", "all string bytes returned",
                           std::to_string(stage.watch.LentStrings()) + " not returned");
    }
    for (const BreachNote& breach : stage.watch.breaches) {
        if (breach.breach == Breach::kStringNotLent) context.AddFinding(breach.step, "bytes returned once", breach.got);
    }
    context.SkipWithoutSubjects("the module never called PluginGetStringData");
}

// Returns how many bytes malloc has handed out.
std::size_t UsedMemory() { return mallinfo2().uordblks; }

// Creates objects of a class, reads and writes their properties that are not objects, and drops them. Returns by how
// many bytes the memory in use has grown.
std::ptrdiff_t GrowthByObjects(Stage& stage, const host::Class& isa, int count) {
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

void MemoryFlat(CheckContext& context) {
    constexpr int kObjects = 100;
    constexpr int kTimes = 4;
    constexpr std::ptrdiff_t kHalfOfSmallestBlock = 8;  // half, because other memory may have shrunk meanwhile
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        context.CountSubject();
        GrowthByObjects(stage, *isa, kObjects);
        const int held = stage.watch.HeldReferences();
        // A library may allocate memory of its own now and then. Only memory that grows every time is leaked. Leaked
        // references keep memory in use too, but other checks report them.
        std::ptrdiff_t growth = 0;
        int times = 0;
        do growth = GrowthByObjects(stage, *isa, kObjects);
        while (growth >= kObjects * kHalfOfSmallestBlock && stage.watch.HeldReferences() == held && ++times < kTimes);
        if (times < kTimes) continue;
        context.AddFinding(isa->Name(), "no more memory in use after " + std::to_string(kObjects) + " further objects",
                           std::to_string(growth) + " more bytes");
    }
    context.SkipWithoutSubjects("no class can have objects");
}

void EndUnconstructed(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        context.CountSubject();
        stage.NewUnconstructed(*isa);
        stage.watch.Settle();
    }
    context.SkipWithoutSubjects("no class can have objects");
}

// Returns the properties of an object that are not objects.
std::string ValueContent(Stage& stage, const ObjectReference& object) {
    std::string text;
    for (const Member& property : object->isa->Members()) {
        if (!IsProperty(property) || property.declaration.result.kind == TypeKind::kObject) continue;
        text += property.declaration.name + " = " + ValueText(stage.Read(object, property).value) + ", ";
    }
    return text + "an object";
}

void OwnersOutliveValues(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            const TypeKind kind = property.declaration.result.kind;
            if (!IsWritable(property) || (kind != TypeKind::kObject && kind != TypeKind::kString)) continue;
            const ObjectReference object = stage.New(*isa);
            if (!object) continue;
            if (!stage.Write(object, property, MakeValue(stage, property.declaration.result)).Succeeded()) continue;
            context.CountSubject();
            const std::size_t breaches = stage.watch.breaches.size();
            stage.watch.Settle();  // destroys the value unless the object holds a reference
            stage.Read(object, property);
            if (stage.watch.breaches.size() > breaches) {
                context.AddFinding(MemberName(*isa, property), "the value, kept alive by a reference of the object",
                                   "a value that was destroyed");
            }
        }
    }
    context.SkipWithoutSubjects("no class has a writable property of type string or object");
}

void ValuesOutliveOwners(CheckContext& context) {
    Stage& stage = context.Load();
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
            context.CountSubject();
            const std::string before = ValueContent(stage, value);
            if (ValueContent(stage, value) != before) continue;  // the content changes with every read
            owner = {};
            stage.watch.Settle();
            const std::string after = ValueContent(stage, value);
            if (before != after) context.AddFinding(MemberName(*isa, property), before, after);
        }
    }
    context.SkipWithoutSubjects("no class has a property that returns an object");
}

}  // namespace

std::vector<Check> OwnershipChecks() {
    return {
        {"construction", "an object that is created and dropped leaks no references",
         "finalize does not release what the constructor took", Construction},
        {"reads", "reading leaks no references", "the getter takes another reference besides the one that it returns",
         Reads},
        {"writes", "repeated writing leaks no references", "the setter does not release the old value", Writes},
        {"endings", "a destroyed object releases the values written to it",
         "finalize does not release what the setter took", Endings},
        {"exceptions", "raising leaks no references", "the exception or its message is not released after raising",
         ExceptionReferences},
        {"objects-given-back", "the module releases only object references that it holds",
         "an argument is released although it is borrowed, or a reference is released twice",
         [](CheckContext& context) { NoBreach(context, Breach::kObjectNotHeld, "a reference that the module holds"); }},
        {"strings-given-back", "the module releases only string references that it holds",
         "an argument is released although it is borrowed, or a reference is released twice",
         [](CheckContext& context) { NoBreach(context, Breach::kStringNotHeld, "a reference that the module holds"); }},
        {"results", "each returned value carries a reference for the host",
         "the getter returns its own reference; lock it first",
         [](CheckContext& context) { NoBreach(context, Breach::kAnswerNotHeld, "a reference for the host"); }},
        {"known-handles", "the module passes only handles that it got from the host",
         "a pointer of the module is passed as a handle",
         [](CheckContext& context) { NoBreach(context, Breach::kUnknownHandle, "a handle of this host"); }},
        {"string-bytes", "string bytes are returned to the host exactly once",
         "PluginDisposeStringData is missing on one return path", StringBytes},
        {"memory-flat", "memory does not grow with the number of objects created and dropped",
         "finalize does not free memory of the module", MemoryFlat},
        {"end-unconstructed", "an unconstructed object can be destroyed",
         "finalize relies on what the constructor creates", EndUnconstructed},
        {"owners-outlive-values", "an object keeps the values written to it",
         "the setter keeps the handle without locking it", OwnersOutliveValues},
        {"values-outlive-owners", "an object that was read stays valid after its owner is destroyed",
         "the returned object borrows data of its owner", ValuesOutliveOwners},
    };
}

}  // namespace checker
