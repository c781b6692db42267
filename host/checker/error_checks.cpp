// error_checks.cpp - misuse, and the exceptions that answer it.

#include <algorithm>

#include "host/checker/check.h"
#include "host/checker/exercise.h"
#include "host/runtime/string.h"
#include "interface/text_encoding.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;
using host::TypeKind;
using host::Value;

// Calls look for each exception that misuse brings about.
template <typename Look>
void ForEachRaise(Examination& examination, Look look) {
    Stage& stage = examination.Load();
    stage.watch.raised.clear();  // while loading, nothing may be raised at all
    Provoke(stage);
    for (const RaiseNote& raised : stage.watch.raised) {
        examination.Seen();
        look(raised);
    }
    examination.SkipUnlessSeen("neither constructing twice nor nil as an argument made it raise anything");
}

void NilValues(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            const TypeKind kind = property.declaration.result.kind;
            if (!IsWritable(property) || (kind != TypeKind::kObject && kind != TypeKind::kString)) continue;
            const ObjectReference object = stage.New(*isa);
            if (!object) continue;
            examination.Seen();
            stage.Write(object, property, {});
            stage.Read(object, property);
        }
    }
    examination.SkipUnlessSeen("no class has a writable property of a string or an object");
}

bool TakesNil(const Member& method) {
    const auto& parameters = method.declaration.parameters;
    return method.declaration.kind == host::MemberKind::kMethod &&
           std::any_of(parameters.begin(), parameters.end(), [](const host::Parameter& parameter) {
               return parameter.type.kind == TypeKind::kString || parameter.type.kind == TypeKind::kObject;
           });
}

void NilArguments(Examination& examination) {
    Stage& stage = examination.Load();
    static std::vector<ObjectReference> objects;  // kept: how they end is the business of another check
    for (const host::Class* isa : stage.Classes()) {
        for (const auto* members : {&isa->Members(), &isa->SharedMembers()}) {
            if (std::any_of(members->begin(), members->end(), TakesNil)) examination.Seen();
        }
        for (const bool isConstructed : {true, false}) {
            objects.push_back(isConstructed ? stage.New(*isa) : stage.NewUnconstructed(*isa));
            if (objects.back()) CallMethodsWithNil(stage, objects.back());
        }
        CallSharedMethodsWithNil(stage, *isa);
    }
    examination.SkipUnlessSeen("no class has a method that takes a string or an object");
}

void Unconstructed(Examination& examination) {
    Stage& stage = examination.Load();
    static std::vector<ObjectReference> objects;  // kept: how they end is the business of another check
    for (const host::Class* isa : stage.Classes()) {
        objects.push_back(stage.NewUnconstructed(*isa));
        if (!objects.back()) continue;
        for (const Member& property : isa->Members()) {
            if (!IsProperty(property) || IsAttribute(property)) continue;
            examination.Seen();
            stage.Read(objects.back(), property);
            if (!IsWritable(property)) continue;
            const Value value = MakeValue(stage, property.declaration.result);
            if (!IsNil(value)) stage.Write(objects.back(), property, value);
        }
    }
    examination.SkipUnlessSeen("no class has a property");
}

void SecondConstructor(Examination& examination) {
    Stage& stage = examination.Load();
    for (const host::Class* isa : stage.Classes()) {
        if (isa->FindConstructor(0) == nullptr) continue;
        const ObjectReference object = stage.New(*isa);
        if (!object) continue;
        examination.Seen();
        std::vector<std::pair<const Member*, Value>> before;
        for (const Member& property : isa->Members()) {
            const bool isPlain = IsWritable(property) && property.declaration.result.kind != TypeKind::kObject;
            if (!isPlain) continue;
            stage.Write(object, property, MakeValue(stage, property.declaration.result, 1));
            before.emplace_back(&property, stage.Read(object, property).value);
        }
        if (!stage.Construct(object).raised) continue;  // it may start anew
        for (const auto& [property, value] : before) {
            const Value after = stage.Read(object, *property).value;
            if (Same(value, after)) continue;
            examination.Report(MemberName(*isa, *property), Words(value) + ", as the second call was refused",
                               Words(after));
        }
    }
    examination.SkipUnlessSeen("no class has a constructor without parameters");
}

void Exceptions(Examination& examination) {
    ForEachRaise(examination, [&](const RaiseNote& raised) {
        if (!raised.isException)
            examination.Report(raised.step, "a RuntimeException or one below it", "a " + raised.className);
    });
}

void Messages(Examination& examination) {
    ForEachRaise(examination, [&](const RaiseNote& raised) {
        if (!raised.isException || (raised.message && !raised.message->empty())) return;
        examination.Report(raised.step, "a Message that says why", raised.message ? "an empty one" : "nil");
    });
}

bool IsUtf8(const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const int following = lead < 0x80 ? 0 : lead >> 5 == 6 ? 1 : lead >> 4 == 14 ? 2 : lead >> 3 == 30 ? 3 : -1;
        if (following < 0 || i + static_cast<std::size_t>(following) >= text.size() + (following == 0)) return false;
        for (int k = 0; k < following; ++k) {
            if ((static_cast<unsigned char>(text[++i]) & 0xC0) != 0x80) return false;
        }
    }
    return true;
}

void Encodings(Examination& examination) {
    ForEachRaise(examination, [&](const RaiseNote& raised) {
        if (!raised.message) return;
        const std::string& text = *raised.message;
        const bool isAscii =
            std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
        if (raised.encoding == kEncodingAscii && !isAscii) {
            examination.Report(raised.step, "a message of ASCII, as it is tagged", "bytes above 127");
        }
        if (raised.encoding == kEncodingUtf8 && !IsUtf8(text)) {
            examination.Report(raised.step, "a message of UTF-8, as it is tagged", "bytes that are none");
        }
    });
}

void ReturnsAfterRaise(Examination& examination) {
    ForEachRaise(examination, [&](const RaiseNote& raised) {
        if (raised.callsAfter.empty()) return;
        examination.Report(raised.step, "nothing but giving back after RuntimeRaiseException",
                           "a call of " + raised.callsAfter.front());
    });
}

void RaisesOnce(Examination& examination) {
    ForEachRaise(examination, [&](const RaiseNote& raised) {
        if (raised.raisedAgain > 0)
            examination.Report(raised.step, "one exception", std::to_string(raised.raisedAgain + 1));
    });
}

void NoAnswerWithException(Examination& examination) {
    Stage& stage = examination.Load();
    const auto judge = [&](const Answer& answer, const std::string& where) {
        if (!answer.raised) return;
        examination.Seen();
        if (ObjectIn(answer.value) || std::holds_alternative<host::StringReference>(answer.value)) {
            examination.Report(where, "nil beside an exception", Words(answer.value));
        }
    };
    for (const host::Class* isa : stage.Classes()) {
        const ObjectReference object = stage.New(*isa);
        if (!object) continue;
        for (const Member& method : isa->Members()) {
            const auto kind = method.declaration.kind;
            const bool isPlain = method.declaration.parameters.empty() || TakesNil(method);
            if (kind == host::MemberKind::kMethod && isPlain) {
                judge(stage.Call(object, method, NilsFor(method.declaration)), MemberName(*isa, method));
            }
            if (kind == host::MemberKind::kProperty) judge(stage.Read(object, method), MemberName(*isa, method));
        }
        for (const Member& method : isa->SharedMembers()) {
            if (method.declaration.kind != host::MemberKind::kMethod) continue;
            judge(stage.CallShared(*isa, method, NilsFor(method.declaration)), MemberName(*isa, method));
        }
    }
    examination.SkipUnlessSeen("no method with nil as an argument raised anything");
}

void NothingLeaves(Examination& examination) {
    Stage& stage = examination.Load();
    Use(stage);
    Provoke(stage);
    for (const BreachNote& breach : stage.watch.breaches) {
        if (breach.breach == Breach::kForeignException) {
            examination.Report(breach.step, "a return to the host", breach.got);
        }
    }
}

void ServicesUsedRightly(Examination& examination) {
    Stage& stage = examination.Load();
    stage.messages.clear();  // what it says of records is the business of registration
    Use(stage);
    Provoke(stage);
    // A second exception in one call is the business of another check.
    for (const std::string& message : stage.messages) {
        if (message.find(" is pending") == std::string::npos) examination.Report("", "nothing to complain of", message);
    }
}

}  // namespace

std::vector<Check> ErrorChecks() {
    return {
        {"nil-values", "nil can be written to strings and objects", "the value is used without being looked at",
         NilValues},
        {"nil-arguments", "methods can be given nil and 0", "an argument is used without being looked at",
         NilArguments},
        {"unconstructed", "properties of an object that no constructor has seen can be used",
         "PluginNewInstance makes such objects; their data is zero", Unconstructed},
        {"second-constructor", "a second constructor call that is refused leaves the object as it was",
         "the object is reset before the refusal", SecondConstructor},
        {"exceptions", "what is raised is a RuntimeException",
         "an object of another class was handed to RuntimeRaiseException", Exceptions},
        {"messages", "every exception says why", "the property Message was not set", Messages},
        {"encodings", "a message's bytes fit the encoding it is tagged with",
         "text of the platform's encoding tagged as ASCII", Encodings},
        {"returns-after-raise", "after raising it returns to the host",
         "the error path goes on as if nothing had happened", ReturnsAfterRaise},
        {"raises-once", "one call raises one exception", "an inner function raises, and so does its caller",
         RaisesOnce},
        {"no-answer", "a call that raises answers nil", "the result is made before the error is found",
         NoAnswerWithException},
        {"nothing-leaves", "no C++ or platform exception leaves the module",
         "a call that throws stands outside the guard", NothingLeaves},
        {"services-used-rightly", "the host has nothing to complain of",
         "a service is given a name or a value that the host does not know", ServicesUsedRightly},
    };
}

}  // namespace checker
