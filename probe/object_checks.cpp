// object_checks.cpp - whether objects begin, live and end as class records say, and whether services reach properties.
//
// Initializers and finalizers only take notes, and write nothing into the object: nobody knows yet whether there is
// room.

#include <cstdint>

#include "probe/check.h"
#include "probe/classes.h"
#include "probe/held.h"
#include "probe/lent.h"
#include "probe/memory.h"

namespace probe {

namespace {

// ---- The classes

// The data of baseClass, and what derivedClass adds. Both are multiples of kDataSizeStep, so nothing is rounded.
constexpr int kBaseSize = 16;
constexpr int kOwnSize = 48;
constexpr int kDataSize = kBaseSize + kOwnSize;

void* DataOf(ZEVAobjectStruct* object) { return reinterpret_cast<char*>(object) + kZEVAobjectHeaderSize; }

// What happened to objects, in its order, since a check began to look.
enum class Event { kBaseInitialized, kOwnInitialized, kOwnFinalized, kBaseFinalized };
struct Note {
    Event event;
    ZEVAobjectStruct* object;
};
Note notes[64];
int noteCount = 0;

void TakeNote(Event event, ZEVAobjectStruct* object) {
    if (noteCount < static_cast<int>(std::size(notes))) notes[noteCount++] = {event, object};
}

// How often an event happened; with an object, to this one only.
int CountOf(Event event, const ZEVAobjectStruct* object = nullptr) {
    int count = 0;
    for (int i = 0; i < noteCount; ++i) {
        if (notes[i].event == event && (object == nullptr || notes[i].object == object)) ++count;
    }
    return count;
}

// Whether the first of two events happened before the second one.
bool IsBefore(Event first, Event second) {
    for (int i = 0; i < noteCount; ++i) {
        if (notes[i].event == second) return false;
        if (notes[i].event == first) return true;
    }
    return false;
}

bool isDataZero = true;         // at each initializer since a check began to look
int finalByte = 0;              // what each byte of the data should be at a finalizer
bool isFinalDataWhole = false;  // whether it was
ZEVAobjectStruct* watched = nullptr;
bool hasWatchedEnded = false;

void InitializeBase(ZEVAobjectStruct* self) { TakeNote(Event::kBaseInitialized, self); }

void FinalizeBase(ZEVAobjectStruct* self) {
    TakeNote(Event::kBaseFinalized, self);
    if (self == watched) hasWatchedEnded = true;
}

void InitializeOwn(ZEVAobjectStruct* self) {
    TakeNote(Event::kOwnInitialized, self);
    isDataZero = isDataZero && IsFilled(DataOf(self), 0, kDataSize);
}

void FinalizeOwn(ZEVAobjectStruct* self) {
    TakeNote(Event::kOwnFinalized, self);
    isFinalDataWhole = IsFilled(DataOf(self), finalByte, kDataSize);
}

// What the setters got.
ZEVAobjectStruct* setObject = nullptr;
std::int32_t setNumber = 0;
const char* expectedText = nullptr;
enum class TextResult { kNotSet, kSame, kOther, kNull } setText;
std::int32_t levels = 0;

std::int32_t GetNothing(ZEVAobjectStruct*) { return 0; }
ZEVAstringStruct* GetNoText(ZEVAobjectStruct*) { return nullptr; }

void SetNumber(ZEVAobjectStruct* self, std::int32_t number) {
    setObject = self;
    setNumber = number;
}

void SetText(ZEVAobjectStruct* self, ZEVAstringStruct* text) {
    setObject = self;
    setText = text == nullptr                ? TextResult::kNull
              : Lent(text).Has(expectedText) ? TextResult::kSame
                                             : TextResult::kOther;
}

// Sets itself to the next lower number, and counts the levels that then still had their own.
void SetDepth(ZEVAobjectStruct* self, std::int32_t depth) {
    const volatile std::int32_t own = depth;
    if (depth > 1) ZEVASetPropValueInt32(self, "Depth", depth - 1);
    if (own == levels + 1) ++levels;
}

ZEVAmethod baseMethods[] = {PROBE_PROPERTY("BaseNumber as integer", GetNothing, SetNumber)};

ZEVAmethod derivedMethods[] = {
    PROBE_PROPERTY("Number as integer", GetNothing, SetNumber),
    PROBE_PROPERTY("Text as string", GetNoText, SetText),
    PROBE_PROPERTY("Depth as integer", GetNothing, SetDepth),
};

// Whether services worked in the initializer and in the finalizer of nestClass.
bool worksInInitializer = false;
bool worksInFinalizer = false;

bool ServicesWork() {
    const Object object("ProbeBaseQOR");
    const String string("nested", 6);
    const Block block(3);
    return object && string && block;
}

bool isConstructed = false;

void ConstructNest(ZEVAobjectStruct*) { isConstructed = true; }
void InitializeNest(ZEVAobjectStruct*) { worksInInitializer = ServicesWork(); }
void FinalizeNest(ZEVAobjectStruct*) { worksInFinalizer = ServicesWork(); }

ZEVAmethod nestMethods[] = {PROBE_MEMBER("Constructor", ConstructNest)};

bool hasEndRaised = false;
void FinalizeEnd(ZEVAobjectStruct*) { hasEndRaised = RaiseException(); }

// ---- What several checks do

Object NewDerived() {
    noteCount = 0;
    return Object("ProbeDerivedQOR");
}

// Makes and ends an object. Returns its address, which is only good for comparisons.
ZEVAobjectStruct* EndOne() {
    Object object = NewDerived();
    ZEVAobjectStruct* address = object.Get();
    noteCount = 0;
    object.Release();
    return address;
}

// Sets an integer property of a ProbeDerivedQOR and fails unless its setter gets object and number.
void ExpectNumber(Finding& finding, const char* property, std::int32_t number) {
    const Object object = NewDerived();
    setObject = nullptr;
    setNumber = ~number;
    object.SetNumber(property, number);
    if (setObject == nullptr) return finding.Fail("property %s: expected a call of its setter", property);
    if (setObject != object.Get()) return finding.Fail("property %s: expected the object, got another", property);
    if (setNumber != number) finding.Fail("property %s: expected %d, got %d", property, number, setNumber);
}

// Sets the string property of a ProbeDerivedQOR.
void ExpectText(Finding& finding, ZEVAstringStruct* text, TextResult expected) {
    const Object object = NewDerived();
    setText = TextResult::kNotSet;
    object.SetText("Text", text);
    if (setText == TextResult::kNotSet) return finding.Fail("expected a call of the setter");
    if (setText != expected) {
        finding.Fail("expected %s, got %s", expected == TextResult::kNull ? "null" : "the string's bytes",
                     setText == TextResult::kNull ? "null" : "other bytes");
    }
}

// Fails unless each of two events has happened once.
void ExpectOnce(Finding& finding, Event own, Event base, const char* what) {
    if (CountOf(own) != 1) {
        return finding.Fail("ProbeDerivedQOR: expected one call of its %s, got %d", what, CountOf(own));
    }
    if (CountOf(base) != 1) finding.Fail("ProbeBaseQOR: expected one call of its %s, got %d", what, CountOf(base));
}

}  // namespace

ZEVAclassDefinition baseClass = {.record = {.version = kRecordVersion,
                                            .className = "ProbeBaseQOR",
                                            .instanceDataSize = kBaseSize,
                                            .initialize = InitializeBase,
                                            .finalize = FinalizeBase,
                                            .methods = baseMethods,
                                            .methodCount = std::size(baseMethods),
                                            .flags = kHostFlags}};

ZEVAclassDefinition derivedClass = {.record = {.version = kRecordVersion,
                                               .className = "ProbeDerivedQOR",
                                               .superclassName = "ProbeBaseQOR",
                                               .instanceDataSize = kOwnSize,
                                               .initialize = InitializeOwn,
                                               .finalize = FinalizeOwn,
                                               .methods = derivedMethods,
                                               .methodCount = std::size(derivedMethods),
                                               .flags = kHostFlags}};

ZEVAclassDefinition nestClass = {.record = {.version = kRecordVersion,
                                            .className = "ProbeNestQOR",
                                            .initialize = InitializeNest,
                                            .finalize = FinalizeNest,
                                            .methods = nestMethods,
                                            .methodCount = std::size(nestMethods),
                                            .flags = kHostFlags}};

ZEVAclassDefinition endClass = {.record = {.version = kRecordVersion,
                                           .className = "ProbeEndQOR",
                                           .superclassName = "ProbeBaseQOR",
                                           .finalize = FinalizeEnd,
                                           .flags = kHostFlags}};

void WatchEnd(ZEVAobjectStruct* object) {
    watched = object;
    hasWatchedEnded = false;
}

bool HasEnded() { return hasWatchedEnded; }

// ---- Properties

void IntegerProperty(Finding& finding) {
    if (finding.Lacks<service::ZEVASetPropValueInt>()) return;
    constexpr std::int32_t kNumbers[] = {0, 1, -1, 65536, INT32_MAX, INT32_MIN};
    for (const std::int32_t number : kNumbers) ExpectNumber(finding, "Number", number);
}

void InheritedProperty(Finding& finding) { ExpectNumber(finding, "BaseNumber", 5); }

void StringProperty(Finding& finding) {
    if (finding.Lacks<service::PluginNewInstance, service::ZEVASetPropValueString>()) return;
    expectedText = "a property";
    ExpectText(finding, String(expectedText, 10).Get(), TextResult::kSame);
}

void NullString(Finding& finding) { ExpectText(finding, nullptr, TextResult::kNull); }

// ---- Objects

void UnknownClass(Finding& finding) {
    if (Object("ProbeNoSuchClassQOR")) finding.Fail("expected null, got an object");
}

void Distinct(Finding& finding) {
    const Object first = NewDerived(), second = NewDerived();
    if (first.Get() == second.Get()) finding.Fail("expected two objects, got one twice");
}

// Many, so that some lie next to each other.
void Room(Finding& finding) {
    constexpr auto kSize = static_cast<std::intptr_t>(kZEVAobjectHeaderSize + kDataSize);
    constexpr int kCount = 256;
    ZEVAobjectStruct* objects[kCount];
    for (ZEVAobjectStruct*& object : objects) object = NewDerived().Leak();
    for (const ZEVAobjectStruct* one : objects) {
        for (const ZEVAobjectStruct* other : objects) {
            const std::intptr_t distance =
                reinterpret_cast<std::intptr_t>(one) - reinterpret_cast<std::intptr_t>(other);
            if (distance <= 0 || distance >= kSize) continue;
            finding.Fail("expected %d bytes for each object, got one %d bytes behind another", static_cast<int>(kSize),
                         static_cast<int>(distance));
        }
    }
    for (ZEVAobjectStruct* object : objects) {
        if (object != nullptr) ZEVAUnlockObject(object);
    }
}

void InitializedOnce(Finding& finding) {
    const Object object = NewDerived();
    ExpectOnce(finding, Event::kOwnInitialized, Event::kBaseInitialized, "initializer");
}

void InitializerOrder(Finding& finding) {
    const Object object = NewDerived();
    if (!IsBefore(Event::kBaseInitialized, Event::kOwnInitialized)) {
        finding.Fail("expected the initializer of ProbeBaseQOR first, got that of ProbeDerivedQOR");
    }
}

void InitializedObject(Finding& finding) {
    const Object object = NewDerived();
    const int own = CountOf(Event::kOwnInitialized, object.Get());
    const int base = CountOf(Event::kBaseInitialized, object.Get());
    if (own != 1 || base != 1) {
        finding.Fail("expected the new object, got another one in the initializer of %s",
                     base != 1 ? "ProbeBaseQOR" : "ProbeDerivedQOR");
    }
}

// Several times, because an object may lie where an earlier one has left its data.
void ZeroData(Finding& finding) {
    isDataZero = true;
    for (int i = 0; i < 8; ++i) {
        const Object object = NewDerived();
        if (!Fill(DataOf(object.Get()), 0xA5, kDataSize)) return finding.Fail("expected data to write");
    }
    if (!isDataZero) finding.Fail("expected %d bytes of zero, got others", kDataSize);
}

void NotConstructed(Finding& finding) {
    isConstructed = false;
    const Object object("ProbeNestQOR");
    if (isConstructed) finding.Fail("expected an object that is initialized only, got a call of its constructor");
}

void DataStays(Finding& finding) {
    const Object first = NewDerived(), second = NewDerived();
    if (!Fill(DataOf(first.Get()), 1, kDataSize) || !Fill(DataOf(second.Get()), 2, kDataSize)) {
        return finding.Fail("expected data to write");
    }
    first.SetNumber("BaseNumber", 1);
    first.SetText("Text", nullptr);
    first.Lock();
    first.Unlock();
    if (!IsFilled(DataOf(first.Get()), 1, kDataSize)) {
        return finding.Fail("expected the data as it was before services used the object");
    }
    if (!IsFilled(DataOf(second.Get()), 2, kDataSize)) finding.Fail("expected the data of another object as it was");
}

// ---- References

void FirstReference(Finding& finding) {
    const ZEVAobjectStruct* object = EndOne();
    if (CountOf(Event::kOwnFinalized, object) == 0) finding.Fail("expected a call of the finalizer");
}

void FinalizedOnce(Finding& finding) {
    EndOne();
    ExpectOnce(finding, Event::kOwnFinalized, Event::kBaseFinalized, "finalizer");
}

void FinalizerOrder(Finding& finding) {
    EndOne();
    if (!IsBefore(Event::kOwnFinalized, Event::kBaseFinalized)) {
        finding.Fail("expected the finalizer of ProbeDerivedQOR first, got that of ProbeBaseQOR");
    }
}

void FinalData(Finding& finding) {
    finalByte = 0x3C;
    Object object = NewDerived();
    if (!Fill(DataOf(object.Get()), finalByte, kDataSize)) return finding.Fail("expected data to write");
    object.Release();
    if (!isFinalDataWhole) finding.Fail("expected the data as the module wrote it");
}

void AddedReference(Finding& finding) {
    if (finding.Lacks<service::ZEVALockObject>()) return;
    Object object = NewDerived();
    noteCount = 0;
    object.Lock();
    object.Unlock();
    if (noteCount != 0) {
        static_cast<void>(object.Leak());
        return finding.Fail("expected an object that lives, got a call of its finalizer");
    }
    object.Release();
    if (noteCount == 0) finding.Fail("expected a call of the finalizer after the last reference");
}

void ManyReferences(Finding& finding) {
    constexpr int kCount = 70000;
    Object object = NewDerived();
    noteCount = 0;
    for (int i = 0; i < kCount; ++i) object.Lock();
    for (int i = 1; i <= kCount; ++i) {
        object.Unlock();
        if (noteCount == 0) continue;
        static_cast<void>(object.Leak());
        return finding.Fail("expected an object that lives, got its end after %d of %d references", i, kCount + 1);
    }
    object.Release();
    if (noteCount == 0) finding.Fail("expected a call of the finalizer after the last reference");
}

// ---- Calls within calls

void NestedSetters(Finding& finding) {
    constexpr std::int32_t kLevels = 100;
    const Object object = NewDerived();
    levels = 0;
    object.SetNumber("Depth", kLevels);
    if (levels != kLevels) finding.Fail("expected %d levels, got %d", kLevels, levels);
}

void NestedInitializer(Finding& finding) {
    if (finding.Lacks<service::ZEVABuildString, service::newMemoryBlock>()) return;
    const Object object("ProbeNestQOR");
    if (!worksInInitializer) finding.Fail("expected an object, a string and a block");
}

void NestedFinalizer(Finding& finding) {
    if (finding.Lacks<service::ZEVABuildString, service::newMemoryBlock>()) return;
    Object("ProbeNestQOR").Release();
    if (!worksInFinalizer) finding.Fail("expected an object, a string and a block");
}

// ---- Exceptions

void FromFinalizer(Finding& finding) {
    if (finding.Lacks<service::RuntimeRaiseException>()) return;
    hasEndRaised = false;
    Object object("ProbeEndQOR");
    noteCount = 0;
    object.Release();
    if (!hasEndRaised) return finding.Skip("the host makes no exceptions of a class of the probe");
    if (CountOf(Event::kBaseFinalized) != 1) {
        finding.Fail("expected one call of the superclass's finalizer, got %d", CountOf(Event::kBaseFinalized));
    }
}

}  // namespace probe
