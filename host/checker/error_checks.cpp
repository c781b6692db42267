// error_checks.cpp - misuse of classes, and the exceptions that it should raise.

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

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

// Misuses all classes, and calls visit for each exception that was raised.
template <typename Visit>
void ForEachRaise(CheckContext& context, Visit visit) {
    Stage& stage = context.Load();
    stage.watch.raised.clear();  // load.raises-nothing reports exceptions during loading
    ProvokeExceptions(stage);
    for (const RaiseNote& raised : stage.watch.raised) {
        context.CountSubject();
        visit(raised);
    }
    context.SkipWithoutSubjects("neither a second constructor call nor nil as an argument raised an exception");
}

void NilValues(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& property : isa->Members()) {
            const TypeKind kind = property.declaration.result.kind;
            if (!IsWritable(property) || (kind != TypeKind::kObject && kind != TypeKind::kString)) continue;
            const ObjectReference object = stage.New(*isa);
            if (!object) continue;
            context.CountSubject();
            stage.Write(object, property, {});
            stage.Read(object, property);
        }
    }
    context.SkipWithoutSubjects("no class has a writable property of type string or object");
}

bool TakesNil(const Member& method) {
    const auto& parameters = method.declaration.parameters;
    return method.declaration.kind == host::MemberKind::kMethod &&
           std::any_of(parameters.begin(), parameters.end(), [](const host::Parameter& parameter) {
               return parameter.type.kind == TypeKind::kString || parameter.type.kind == TypeKind::kObject;
           });
}

void NilArguments(CheckContext& context) {
    Stage& stage = context.Load();
    static std::vector<ObjectReference> objects;  // never destroyed: ownership.end-unconstructed checks that
    for (const host::Class* isa : stage.Classes()) {
        for (const auto* members : {&isa->Members(), &isa->SharedMembers()}) {
            if (std::any_of(members->begin(), members->end(), TakesNil)) context.CountSubject();
        }
        for (const bool isConstructed : {true, false}) {
            objects.push_back(isConstructed ? stage.New(*isa) : stage.NewUnconstructed(*isa));
            if (objects.back()) CallMethodsWithNil(stage, objects.back());
        }
        CallSharedMethodsWithNil(stage, *isa);
    }
    context.SkipWithoutSubjects("no class has a method that takes a string or an object");
}

void UnconstructedObjects(CheckContext& context) {
    Stage& stage = context.Load();
    static std::vector<ObjectReference> objects;  // never destroyed: ownership.end-unconstructed checks that
    for (const host::Class* isa : stage.Classes()) {
        objects.push_back(stage.NewUnconstructed(*isa));
        if (!objects.back()) continue;
        for (const Member& property : isa->Members()) {
            if (!IsProperty(property) || IsAttribute(property)) continue;
            context.CountSubject();
            stage.Read(objects.back(), property);
            if (!IsWritable(property)) continue;
            const Value value = MakeValue(stage, property.declaration.result);
            if (!IsNil(value)) stage.Write(objects.back(), property, value);
        }
    }
    context.SkipWithoutSubjects("no class has a property");
}

void SecondConstructor(CheckContext& context) {
    Stage& stage = context.Load();
    for (const host::Class* isa : stage.Classes()) {
        if (isa->FindConstructor(0) == nullptr) continue;
        const ObjectReference object = stage.New(*isa);
        if (!object) continue;
        context.CountSubject();
        std::vector<std::pair<const Member*, Value>> before;
        for (const Member& property : isa->Members()) {
            const bool isPlain = IsWritable(property) && property.declaration.result.kind != TypeKind::kObject;
            if (!isPlain) continue;
            stage.Write(object, property, MakeValue(stage, property.declaration.result, 1));
            before.emplace_back(&property, stage.Read(object, property).value);
        }
        if (!stage.Construct(object).raised) continue;  // a constructor may also reset the object
        for (const auto& [property, value] : before) {
            const Value after = stage.Read(object, *property).value;
            if (Same(value, after)) continue;
            context.AddFinding(MemberName(*isa, *property), ValueText(value) + ", because the second call raised",
                               ValueText(after));
        }
    }
    context.SkipWithoutSubjects("no class has a constructor without parameters");
}

void Exceptions(CheckContext& context) {
    ForEachRaise(context, [&](const RaiseNote& raised) {
        if (!raised.isException)
            context.AddFinding(raised.step, "a RuntimeException or a subclass of it", "a " + raised.className);
    });
}

void Messages(CheckContext& context) {
    ForEachRaise(context, [&](const RaiseNote& raised) {
        if (!raised.isException || (raised.message && !raised.message->empty())) return;
        context.AddFinding(raised.step, "a Message", raised.message ? "an empty one" : "nil");
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

void Encodings(CheckContext& context) {
    ForEachRaise(context, [&](const RaiseNote& raised) {
        if (!raised.message) return;
        const std::string& text = *raised.message;
        const bool isAscii =
            std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
        if (raised.encoding == kEncodingAscii && !isAscii) {
            context.AddFinding(raised.step, "an ASCII message, as its encoding says", "bytes above 127");
        }
        if (raised.encoding == kEncodingUtf8 && !IsUtf8(text)) {
            context.AddFinding(raised.step, "a UTF-8 message, as its encoding says", "bytes that are not UTF-8");
        }
    });
}

void ReturnsAfterRaise(CheckContext& context) {
    ForEachRaise(context, [&](const RaiseNote& raised) {
        if (raised.callsAfter.empty()) return;
        context.AddFinding(raised.step, "only releases after RuntimeRaiseException",
                           "a call of " + raised.callsAfter.front());
    });
}

void RaisesOnce(CheckContext& context) {
    ForEachRaise(context, [&](const RaiseNote& raised) {
        if (raised.raisedAgain > 0)
            context.AddFinding(raised.step, "one exception", std::to_string(raised.raisedAgain + 1));
    });
}

void NoResult(CheckContext& context) {
    Stage& stage = context.Load();
    const auto inspect = [&](const CallResult& result, const std::string& where) {
        if (!result.raised) return;
        context.CountSubject();
        if (ObjectIn(result.value) || std::holds_alternative<host::StringReference>(result.value)) {
            context.AddFinding(where, "nil, because the call raised", ValueText(result.value));
        }
    };
    for (const host::Class* isa : stage.Classes()) {
        const ObjectReference object = stage.New(*isa);
        if (!object) continue;
        for (const Member& method : isa->Members()) {
            const auto kind = method.declaration.kind;
            const bool isPlain = method.declaration.parameters.empty() || TakesNil(method);
            if (kind == host::MemberKind::kMethod && isPlain) {
                inspect(stage.Call(object, method, NilsFor(method.declaration)), MemberName(*isa, method));
            }
            if (kind == host::MemberKind::kProperty) inspect(stage.Read(object, method), MemberName(*isa, method));
        }
        for (const Member& method : isa->SharedMembers()) {
            if (method.declaration.kind != host::MemberKind::kMethod) continue;
            inspect(stage.CallShared(*isa, method, NilsFor(method.declaration)), MemberName(*isa, method));
        }
    }
    context.SkipWithoutSubjects("no method raised an exception when called with nil");
}

void NothingLeaves(CheckContext& context) {
    Stage& stage = context.Load();
    UseEveryClass(stage);
    ProvokeExceptions(stage);
    for (const BreachNote& breach : stage.watch.breaches) {
        if (breach.breach == Breach::kForeignException) {
            context.AddFinding(breach.step, "a return to the host", breach.got);
        }
    }
}

void ServicesUsedRightly(CheckContext& context) {
    Stage& stage = context.Load();
    stage.messages.clear();  // the registration checks report faulty records
    UseEveryClass(stage);
    ProvokeExceptions(stage);
    // errors.raises-once reports a second exception in one call.
    for (const std::string& message : stage.messages) {
        if (message.find(" is pending") == std::string::npos)
            context.AddFinding("", "no report from the host", message);
    }
}

}  // namespace

std::vector<Check> ErrorChecks() {
    return {
        {"nil-values", "nil can be written to strings and objects", "the value is used without a test for nil",
         NilValues},
        {"nil-arguments", "methods accept nil and 0 as arguments", "an argument is used without a test for nil",
         NilArguments},
        {"unconstructed", "properties of an unconstructed object can be used",
         "PluginNewInstance creates such objects; their data is zero", UnconstructedObjects},
        {"second-constructor", "a second constructor call that raises leaves the object unchanged",
         "the object is reset before the exception is raised", SecondConstructor},
        {"exceptions", "every raised object is a RuntimeException",
         "an object of another class was passed to RuntimeRaiseException", Exceptions},
        {"messages", "every exception has a message", "the property Message was not set", Messages},
        {"encodings", "the bytes of a message are valid in its encoding",
         "text in the platform's encoding is tagged as ASCII", Encodings},
        {"returns-after-raise", "after raising, the module only releases references and returns",
         "the error path continues after the exception was raised", ReturnsAfterRaise},
        {"raises-once", "one call raises one exception", "an inner function raises, and so does its caller",
         RaisesOnce},
        {"no-result", "a call that raises returns nil", "the result is created before the error is found", NoResult},
        {"nothing-leaves", "no C++ or platform exception leaves the module",
         "a call that throws is outside the try block", NothingLeaves},
        {"services-used-rightly", "the host reports no misuse of its services",
         "a name or a value that the host does not know is passed to a service", ServicesUsedRightly},
    };
}

}  // namespace checker
