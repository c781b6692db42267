// property_checks.cpp - reading and writing properties.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>

#include "host/checker/check.h"
#include "host/checker/exercise.h"
#include "host/runtime/string.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;
using host::TypeKind;
using host::Value;

// Calls visit with a new object for each property that fits.
template <typename Visit>
void ForEachProperty(CheckContext& context, Stage& stage, bool (*fits)(const Member&), const char* what, Visit visit) {
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            if (!IsProperty(property) || !fits(property)) continue;
            {
                const ObjectReference object = stage.New(*isa);
                if (!object) continue;
                context.CountSubject();
                visit(object, property, MemberName(*isa, property));
            }
            stage.watch.Settle();
        }
    }
    context.SkipWithoutSubjects(std::string("no class has ") + what);
}

bool Any(const Member&) { return true; }
bool Writable(const Member& property) { return IsWritable(property); }
template <TypeKind kKind>
bool WritableOf(const Member& property) {
    return IsWritable(property) && property.declaration.result.kind == kKind;
}

void Readable(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachProperty(context, stage, Any, "a property",
                    [&](const auto& object, const Member& property, const auto& where) {
                        const CallResult result = stage.Read(object, property);
                        if (result.raised)
                            context.AddFinding(where, "a value or nil", "a " + result.raised->isa->Name());
                    });
}

// Writes different values until two in a row are read back. One alone could be the value from before.
void ReadBack(CheckContext& context, bool (*fits)(const Member&), const char* what) {
    Stage& stage = context.Load();
    ForEachProperty(context, stage, fits, what, [&](const auto& object, const Member& property, const auto& where) {
        constexpr int kTries = static_cast<int>(std::size(kNumbers));
        bool wasReadBack = false;
        Value written, read;
        for (int i = 0; i < kTries; ++i) {
            written = MakeValue(stage, property.declaration.result, i);
            if (!stage.Write(object, property, written).Succeeded()) return;
            read = stage.Read(object, property).value;
            const bool isReadBack = Same(read, written);
            if (isReadBack && wasReadBack) return;
            wasReadBack = isReadBack;
        }
        context.AddFinding(where, ValueText(written) + ", the last of " + std::to_string(kTries) + " values",
                           ValueText(read));
    });
}

// Whether two values are the same. Numbers are compared in single precision, which modules may store.
bool SameAsFloat(const Value& one, const Value& other) {
    const auto* first = std::get_if<double>(&one);
    const auto* second = std::get_if<double>(&other);
    if (first == nullptr || second == nullptr) return Same(one, other);
    return Same(double{static_cast<float>(*first)}, double{static_cast<float>(*second)});
}

void WriteBack(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachProperty(context, stage, Writable, "a writable property",
                    [&](const auto& object, const Member& property, const auto& where) {
                        if (property.declaration.result.kind == TypeKind::kObject) return;
                        const Value before = stage.Read(object, property).value;
                        if (!stage.Write(object, property, before).Succeeded()) return;
                        const Value after = stage.Read(object, property).value;
                        if (!SameAsFloat(before, after)) context.AddFinding(where, ValueText(before), ValueText(after));
                    });
}

void ReadsAgree(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachProperty(context, stage, Any, "a property",
                    [&](const auto& object, const Member& property, const auto& where) {
                        const Value first = stage.Read(object, property).value;
                        const Value second = stage.Read(object, property).value;
                        if (!Same(first, second))
                            context.AddFinding(where, ValueText(first) + " again", ValueText(second));
                    });
}

void DeclaredClass(CheckContext& context) {
    Stage& stage = context.Load();
    const auto isObject = [](const Member& property) { return property.declaration.result.kind == TypeKind::kObject; };
    ForEachProperty(context, stage, isObject, "a property that returns an object",
                    [&](const auto& object, const Member& property, const auto& where) {
                        const ObjectReference value = ObjectIn(stage.Read(object, property).value);
                        const std::string& declared = property.declaration.result.className;
                        if (value && !value->isa->IsA(declared)) {
                            context.AddFinding(where, "a " + declared, "a " + value->isa->Name());
                        }
                    });
}

void Independent(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachProperty(context, stage, Writable, "a writable property",
                    [&](const ObjectReference& object, const Member& property, const auto& where) {
                        const ObjectReference other = stage.New(*object->isa);
                        if (!other || property.declaration.result.kind == TypeKind::kObject) return;
                        const Value before = stage.Read(other, property).value;
                        for (int i = 0; i < 2; ++i) {
                            stage.Write(object, property, MakeValue(stage, property.declaration.result, i));
                            const Value after = stage.Read(other, property).value;
                            if (Same(before, after)) continue;
                            return context.AddFinding(where, ValueText(before) + " in the other object",
                                                      ValueText(after));
                        }
                    });
}

void OthersStay(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachProperty(context, stage, Writable, "a writable property",
                    [&](const ObjectReference& object, const Member& property, const std::string& where) {
                        for (const Member& other : object->isa->Members()) {
                            const bool isPlain =
                                IsWritable(other) && other.declaration.result.kind != TypeKind::kObject;
                            if (!isPlain || &other == &property) continue;
                            const Value before = stage.Read(object, other).value;
                            const Value value = MakeValue(stage, property.declaration.result, 1);
                            if (IsNil(value) || !stage.Write(object, property, value).Succeeded()) return;
                            const Value after = stage.Read(object, other).value;
                            if (Same(before, after)) continue;
                            context.AddFinding(where, other.declaration.name + " unchanged, " + ValueText(before),
                                               ValueText(after));
                        }
                    });
}

void Extremes(CheckContext& context) {
    Stage& stage = context.Load();
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
    ForEachProperty(context, stage, isNumber, "a writable number",
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

void StringsWhole(CheckContext& context) {
    Stage& stage = context.Load();
    const std::string texts[] = {"", std::string("with a\0zero", 11), "caf\xC3\xA9", std::string(70'000, 'x')};
    ForEachProperty(context, stage, WritableOf<TypeKind::kString>, "a writable string",
                    [&](const ObjectReference& object, const Member& property, const auto& where) {
                        for (const std::string& text : texts) {
                            const Value written = host::TextValue(text);
                            if (!stage.Write(object, property, written).Succeeded()) return;
                            const Value read = stage.Read(object, property).value;
                            if (Same(written, read) || (text.empty() && IsNil(read))) continue;
                            const auto* string = std::get_if<host::StringReference>(&read);
                            const std::size_t size = string != nullptr ? (*string)->bytes.size() : 0;
                            context.AddFinding(where, std::to_string(text.size()) + " bytes", std::to_string(size));
                        }
                    });
}

// The floating-point state that a function must leave unchanged: the rounding modes of x87 and SSE, and the depth of
// the x87 register stack, on which 32-bit functions return floating-point results.
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

void FloatingPointStays(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachProperty(context, stage, Any, "a property",
                    [&](const ObjectReference& object, const Member& property, const auto& where) {
                        const FloatingPoint before;
                        stage.Read(object, property);
                        if (IsWritable(property)) {
                            stage.Write(object, property, MakeValue(stage, property.declaration.result));
                        }
                        const FloatingPoint after;
                        if (after != before) {
                            context.AddFinding(where, "rounding mode and x87 register stack unchanged",
                                               "another state");
                        }
                    });
}

}  // namespace

std::vector<Check> PropertyChecks() {
    return {
        {"readable", "every property of a new object can be read",
         "the getter relies on what only a later call provides; return nil or 0", Readable, Severity::kWarning},
        {"numbers-arrive", "a number that was written is read back",
         "getter and setter use different fields, or the setter is empty",
         [](CheckContext& context) { ReadBack(context, WritableOf<TypeKind::kDouble>, "a writable double"); }},
        {"integers-arrive", "an integer that was written is read back",
         "the setter takes a double where the host passes an integer",
         [](CheckContext& context) { ReadBack(context, WritableOf<TypeKind::kInteger>, "a writable integer"); }},
        {"booleans-arrive", "a boolean that was written is read back",
         "the setter takes one byte where the host passes 32 bits",
         [](CheckContext& context) { ReadBack(context, WritableOf<TypeKind::kBoolean>, "a writable boolean"); }},
        {"strings-arrive", "a string that was written is read back",
         "the bytes of the string are read after it was released",
         [](CheckContext& context) { ReadBack(context, WritableOf<TypeKind::kString>, "a writable string"); }},
        {"strings-whole", "strings of any length keep every byte",
         "the length is taken with strlen, or the buffer has a fixed size", StringsWhole},
        {"write-back", "writing back the value that was read changes nothing", "getter and setter use different units",
         WriteBack},
        {"reads-agree", "reading twice gives the same value", "the getter changes the object", ReadsAgree,
         Severity::kWarning},
        {"declared-class", "an object that is read has the declared class",
         "the getter creates an object of another class", DeclaredClass},
        {"independent", "writing to one object does not change others",
         "a value is kept in a global variable instead of the object", Independent},
        {"others-stay", "writing one property does not change others", "two properties share a field of the object",
         OthersStay, Severity::kWarning},
        {"extremes", "extreme numbers do not crash the module",
         "a number is used as an index or a size without a range test", Extremes},
        {"floating-point-stays", "rounding mode and x87 register stack stay unchanged",
         "a function without its declared result, or a rounding mode that is not restored", FloatingPointStays},
    };
}

}  // namespace checker
