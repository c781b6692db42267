// property_checks.cpp - reading and writing properties.

#include <cmath>
#include <limits>

#include "host/checker/check.h"
#include "host/checker/exercise.h"
#include "host/runtime/string.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;
using host::TypeKind;
using host::Value;

// Calls look with a new object for each property of each class that fits.
template <typename Look>
void ForEachProperty(Examination& examination, Stage& stage, bool (*fits)(const Member&), const char* what, Look look) {
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            if (!IsProperty(property) || !fits(property)) continue;
            {
                const ObjectReference object = stage.New(*isa);
                if (!object) continue;
                examination.Seen();
                look(object, property, MemberName(*isa, property));
            }
            stage.watch.Settle();
        }
    }
    examination.SkipUnlessSeen(std::string("no class has ") + what);
}

bool Any(const Member&) { return true; }
bool Writable(const Member& property) { return IsWritable(property); }
template <TypeKind kKind>
bool WritableOf(const Member& property) {
    return IsWritable(property) && property.declaration.result.kind == kKind;
}

void Readable(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachProperty(examination, stage, Any, "a property",
                    [&](const auto& object, const Member& property, const auto& where) {
                        const Answer answer = stage.Read(object, property);
                        if (answer.raised)
                            examination.Report(where, "an answer, or nil", "a " + answer.raised->isa->Name());
                    });
}

// Two values after each other, at least, come back as they went in: one alone may have been there before.
void Arrives(Examination& examination, bool (*fits)(const Member&), const char* what) {
    Stage& stage = examination.Load();
    ForEachProperty(examination, stage, fits, what, [&](const auto& object, const Member& property, const auto& where) {
        constexpr int kTries = static_cast<int>(std::size(kNumbers));
        bool hasArrived = false;
        Value written, read;
        for (int i = 0; i < kTries; ++i) {
            written = MakeValue(stage, property.declaration.result, i);
            if (!stage.Write(object, property, written).IsGood()) return;
            read = stage.Read(object, property).value;
            const bool arrives = Same(read, written);
            if (arrives && hasArrived) return;
            hasArrived = arrives;
        }
        examination.Report(where, Words(written) + ", the last of " + std::to_string(kTries) + " values", Words(read));
    });
}

// The same, or the same number in single precision, in which modules may keep theirs.
bool SameNearly(const Value& one, const Value& other) {
    const auto* first = std::get_if<double>(&one);
    const auto* second = std::get_if<double>(&other);
    if (first == nullptr || second == nullptr) return Same(one, other);
    return Same(double{static_cast<float>(*first)}, double{static_cast<float>(*second)});
}

void WriteBack(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachProperty(examination, stage, Writable, "a writable property",
                    [&](const auto& object, const Member& property, const auto& where) {
                        if (property.declaration.result.kind == TypeKind::kObject) return;
                        const Value before = stage.Read(object, property).value;
                        if (!stage.Write(object, property, before).IsGood()) return;
                        const Value after = stage.Read(object, property).value;
                        if (!SameNearly(before, after)) examination.Report(where, Words(before), Words(after));
                    });
}

void ReadsAgree(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachProperty(examination, stage, Any, "a property",
                    [&](const auto& object, const Member& property, const auto& where) {
                        const Value first = stage.Read(object, property).value;
                        const Value second = stage.Read(object, property).value;
                        if (!Same(first, second)) examination.Report(where, Words(first) + " again", Words(second));
                    });
}

void DeclaredClass(Examination& examination) {
    Stage& stage = examination.Load();
    const auto isObject = [](const Member& property) { return property.declaration.result.kind == TypeKind::kObject; };
    ForEachProperty(examination, stage, isObject, "a property that answers an object",
                    [&](const auto& object, const Member& property, const auto& where) {
                        const ObjectReference answer = ObjectIn(stage.Read(object, property).value);
                        const std::string& declared = property.declaration.result.className;
                        if (answer && !answer->isa->IsA(declared)) {
                            examination.Report(where, "a " + declared, "a " + answer->isa->Name());
                        }
                    });
}

void Independent(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachProperty(examination, stage, Writable, "a writable property",
                    [&](const ObjectReference& object, const Member& property, const auto& where) {
                        const ObjectReference other = stage.New(*object->isa);
                        if (!other || property.declaration.result.kind == TypeKind::kObject) return;
                        const Value before = stage.Read(other, property).value;
                        for (int i = 0; i < 2; ++i) {
                            stage.Write(object, property, MakeValue(stage, property.declaration.result, i));
                            const Value after = stage.Read(other, property).value;
                            if (Same(before, after)) continue;
                            return examination.Report(where, Words(before) + " in the other object", Words(after));
                        }
                    });
}

void OthersStay(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachProperty(
        examination, stage, Writable, "a writable property",
        [&](const ObjectReference& object, const Member& property, const std::string& where) {
            for (const Member& other : object->isa->Members()) {
                const bool isPlain = IsWritable(other) && other.declaration.result.kind != TypeKind::kObject;
                if (!isPlain || &other == &property) continue;
                const Value before = stage.Read(object, other).value;
                const Value value = MakeValue(stage, property.declaration.result, 1);
                if (IsNil(value) || !stage.Write(object, property, value).IsGood()) return;
                const Value after = stage.Read(object, other).value;
                if (Same(before, after)) continue;
                examination.Report(where, other.declaration.name + " as it was, " + Words(before), Words(after));
            }
        });
}

void Extremes(Examination& examination) {
    Stage& stage = examination.Load();
    constexpr double kDoubles[] = {std::numeric_limits<double>::quiet_NaN(),
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::max(),
                                   std::numeric_limits<double>::denorm_min(),
                                   -0.0,
                                   -1};
    constexpr std::int32_t kIntegers[] = {std::numeric_limits<std::int32_t>::min(),
                                          std::numeric_limits<std::int32_t>::max(), -1, 0};
    const auto isNumber = [](const Member& property) {
        return WritableOf<TypeKind::kDouble>(property) || WritableOf<TypeKind::kInteger>(property);
    };
    ForEachProperty(examination, stage, isNumber, "a writable number",
                    [&](const ObjectReference& object, const Member& property, const auto&) {
                        const bool isDouble = property.declaration.result.kind == TypeKind::kDouble;
                        for (const double number : kDoubles) {
                            if (isDouble) stage.Write(object, property, number);
                        }
                        for (const std::int32_t number : kIntegers) {
                            if (!isDouble) stage.Write(object, property, number);
                        }
                        for (const Member& each : object->isa->Members()) {
                            if (IsProperty(each)) stage.Read(object, each);
                        }
                    });
}

void TextsWhole(Examination& examination) {
    Stage& stage = examination.Load();
    const std::string texts[] = {"", std::string("with a\0zero", 11), "caf\xC3\xA9", std::string(70'000, 'x')};
    ForEachProperty(examination, stage, WritableOf<TypeKind::kString>, "a writable string",
                    [&](const ObjectReference& object, const Member& property, const auto& where) {
                        for (const std::string& text : texts) {
                            const Value written = host::TextValue(text);
                            if (!stage.Write(object, property, written).IsGood()) return;
                            const Value read = stage.Read(object, property).value;
                            if (Same(written, read) || (text.empty() && IsNil(read))) continue;
                            const auto* string = std::get_if<host::StringReference>(&read);
                            const std::size_t size = string != nullptr ? (*string)->bytes.size() : 0;
                            examination.Report(where, std::to_string(text.size()) + " bytes", std::to_string(size));
                        }
                    });
}

// The parts of the processor's state that belong to whoever calls: how both its units round, and whether a function has
// left a number behind on the stack of the older one, where 32-bit functions answer theirs.
struct FloatingPoint {
    std::uint16_t control;
    std::uint16_t tags;
    std::uint32_t mxcsr;

    FloatingPoint() {
        struct {
            std::uint16_t control, reserved0, status, reserved1, tags, reserved2;
            std::uint32_t pointers[4];
        } environment;
        asm volatile("fnstenv %0\n\tfldenv %0" : "+m"(environment));
        asm volatile("stmxcsr %0" : "=m"(mxcsr));
        constexpr std::uint16_t kRoundingAndPrecision = 0x0F00;
        constexpr std::uint32_t kRounding = 0x6000;
        control = environment.control & kRoundingAndPrecision;
        tags = environment.tags;
        mxcsr &= kRounding;
    }

    bool operator==(const FloatingPoint&) const = default;
};

void FloatingPointStays(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachProperty(examination, stage, Any, "a property",
                    [&](const ObjectReference& object, const Member& property, const auto& where) {
                        const FloatingPoint before;
                        stage.Read(object, property);
                        if (IsWritable(property)) {
                            stage.Write(object, property, MakeValue(stage, property.declaration.result));
                        }
                        const FloatingPoint after;
                        if (after != before) {
                            examination.Report(where, "rounding and number stack as they were", "another state");
                        }
                    });
}

}  // namespace

std::vector<Check> PropertyChecks() {
    return {
        {"readable", "every property of a new object can be read",
         "the getter takes for granted what only a later call provides; answer nil or 0", Readable, Weight::kWarning},
        {"numbers-arrive", "a number that is written can be read",
         "getter and setter use different places, or the setter is empty",
         [](Examination& at) { Arrives(at, WritableOf<TypeKind::kDouble>, "a writable double"); }},
        {"integers-arrive", "an integer that is written can be read",
         "the setter takes a double where an integer comes",
         [](Examination& at) { Arrives(at, WritableOf<TypeKind::kInteger>, "a writable integer"); }},
        {"booleans-arrive", "a truth value that is written can be read", "the setter reads a byte where 32 bits come",
         [](Examination& at) { Arrives(at, WritableOf<TypeKind::kBoolean>, "a writable boolean"); }},
        {"strings-arrive", "a string that is written can be read",
         "the string's bytes are asked for after it was given back",
         [](Examination& at) { Arrives(at, WritableOf<TypeKind::kString>, "a writable string"); }},
        {"strings-whole", "strings of any length keep every byte",
         "the length is taken with strlen, or there is a fixed buffer", TextsWhole},
        {"write-back", "writing what was read changes nothing", "getter and setter count differently", WriteBack},
        {"reads-agree", "reading twice gives the same", "the getter changes the object", ReadsAgree, Weight::kWarning},
        {"declared-class", "an object that is read is of the declared class",
         "the getter makes an object of another class", DeclaredClass},
        {"independent", "writing to one object leaves others alone", "a value is kept in a variable, not in the object",
         Independent},
        {"others-stay", "writing one property leaves the others alone", "two properties share a place in the object",
         OthersStay, Weight::kWarning},
        {"extremes", "no number brings it down", "a number is used as an index or a size without being looked at",
         Extremes},
        {"floating-point-stays", "rounding mode and number stack stay as they were",
         "a declared result that the function does not give, or a mode that is not put back", FloatingPointStays},
    };
}

}  // namespace checker
