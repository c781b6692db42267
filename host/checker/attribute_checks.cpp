// attribute_checks.cpp - attributes: read-only properties named Attribute<key>, each describing the property <key>.

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/checker/check.h"
#include "host/checker/exercise.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;
using host::TypeKind;

constexpr const char* kNoAttribute = "no class has a property Attribute<key> whose type is an object";

// Calls visit for each attribute of each class.
template <typename Visit>
void ForEachAttribute(CheckContext& context, Stage& stage, Visit visit) {
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& attribute : isa->Members()) {
            if (!IsAttribute(attribute)) continue;
            context.CountSubject();
            visit(*isa, attribute, MemberName(*isa, attribute));
            stage.watch.Settle();
        }
    }
    context.SkipWithoutSubjects(kNoAttribute);
}

// Returns the properties of an attribute object that are not objects, one per line.
std::string ContentOf(Stage& stage, const ObjectReference& attribute) {
    std::string text;
    for (const Member& property : attribute->isa->Members()) {
        if (!IsProperty(property) || property.declaration.result.kind == TypeKind::kObject) continue;
        text += property.declaration.name + " = " + ValueText(stage.Read(attribute, property).value) + "\n";
    }
    return text;
}

// Returns the first line of `other` that differs from `one`.
std::string Difference(const std::string& one, const std::string& other) {
    std::size_t line = 0;
    for (std::size_t i = 0; i < one.size() && i < other.size() && one[i] == other[i]; ++i) {
        if (one[i] == '\n') line = i + 1;
    }
    return other.substr(line, other.find('\n', line) - line);
}

void Belong(CheckContext& context) {
    ForEachAttribute(context, context.Load(), [&](const host::Class& isa, const Member& attribute, const auto& where) {
        const Member* described = DescribedProperty(isa, attribute);
        if (described == nullptr || !IsProperty(*described)) {
            context.AddFinding(where, "a property with the name after Attribute", "none");
        }
    });
}

void ReadOnly(CheckContext& context) {
    ForEachAttribute(context, context.Load(), [&](const host::Class&, const Member& attribute, const auto& where) {
        if (attribute.setter != nullptr) context.AddFinding(where, "no setter", "a setter");
    });
}

void Complete(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachAttribute(context, stage, [&](const host::Class& isa, const Member& first, const auto&) {
        for (const Member& attribute : isa.Members()) {
            if (!IsAttribute(attribute)) continue;
            if (&attribute != &first) return;  // visit each class once
            break;
        }
        for (const Member& property : isa.Members()) {
            if (!IsProperty(property) || IsAttribute(property)) continue;
            const Member* attribute = isa.FindMember("Attribute" + property.declaration.name);
            if (attribute == nullptr)
                context.AddFinding(MemberName(isa, property), "an attribute that describes it", "none");
        }
    });
}

void Described(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachAttribute(context, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        const Member* described = DescribedProperty(isa, attribute);
        if (described == nullptr || !IsWritable(*described) || described->declaration.result.kind != TypeKind::kDouble)
            return;
        const ObjectReference object = stage.New(isa);
        if (!object) return;
        if (!ObjectIn(stage.Read(object, attribute).value))
            context.AddFinding(where, "a description of the number", "nil");
    });
}

void SameContent(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachAttribute(context, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        const ObjectReference object = stage.New(isa);
        if (!object) return;
        const ObjectReference first = ObjectIn(stage.Read(object, attribute).value);
        const ObjectReference second = ObjectIn(stage.Read(object, attribute).value);
        if (!first || !second) return;
        const std::string one = ContentOf(stage, first), other = ContentOf(stage, second);
        if (one != other)
            context.AddFinding(where, Difference(other, one), Difference(one, other) + " on the second read");
    });
}

void OutliveOwner(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachAttribute(context, stage, [&](const host::Class& isa, const Member& attribute, const std::string& where) {
        ObjectReference object = stage.New(isa);
        if (!object) return;
        const ObjectReference description = ObjectIn(stage.Read(object, attribute).value);
        if (!description) return;
        const std::string before = ContentOf(stage, description);
        object = {};
        stage.watch.Settle();
        const std::string after = ContentOf(stage, description);
        if (before == after) return;
        context.AddFinding(where, Difference(after, before),
                           Difference(before, after) + " after the object was destroyed");
    });
}

void Unconstructed(CheckContext& context) {
    Stage& stage = context.Load();
    // Never destroyed: ownership.end-unconstructed checks how such objects are destroyed.
    static std::vector<ObjectReference> objects;
    ForEachAttribute(context, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        objects.push_back(stage.NewUnconstructed(isa));
        if (!objects.back()) return;
        const CallResult result = stage.Read(objects.back(), attribute);
        if (result.raised) context.AddFinding(where, "a description or nil", "a " + result.raised->isa->Name());
    });
}

// Returns a number property of an attribute object; nothing when it has no such property.
std::optional<double> NumberOf(Stage& stage, const ObjectReference& attribute, const char* name) {
    const Member* property = attribute->isa->FindMember(name);
    if (property == nullptr || !IsProperty(*property)) return std::nullopt;
    const host::Value value = stage.Read(attribute, *property).value;
    const auto* number = std::get_if<double>(&value);
    return number != nullptr ? std::optional(*number) : std::nullopt;
}

void Defaults(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachAttribute(context, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        const Member* described = DescribedProperty(isa, attribute);
        if (described == nullptr || described->declaration.result.kind != TypeKind::kDouble) return;
        const ObjectReference object = stage.New(isa);
        const ObjectReference description = object ? ObjectIn(stage.Read(object, attribute).value) : ObjectReference();
        if (!description) return;
        const auto declared = NumberOf(stage, description, "Default");
        const host::Value value = stage.Read(object, *described).value;
        const auto* number = std::get_if<double>(&value);
        if (!declared || number == nullptr || static_cast<float>(*number) == static_cast<float>(*declared)) return;
        context.AddFinding(where, "the default " + host::NumberText(*declared) + " in a new object",
                           host::NumberText(*number));
    });
}

void Ranges(CheckContext& context) {
    Stage& stage = context.Load();
    ForEachAttribute(context, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        const ObjectReference object = stage.New(isa);
        const ObjectReference description = object ? ObjectIn(stage.Read(object, attribute).value) : ObjectReference();
        if (!description) return;
        const auto minimum = NumberOf(stage, description, "Min"), maximum = NumberOf(stage, description, "Max");
        // A limit that the platform does not give reads as 0.
        if (!minimum || !maximum || *maximum == 0 || *minimum <= *maximum) return;
        context.AddFinding(where, "Min at most Max", host::NumberText(*minimum) + " and " + host::NumberText(*maximum));
    });
}

}  // namespace

std::vector<Check> AttributeChecks() {
    return {
        {"belong", "each Attribute<key> describes a property of its class", "a key was renamed in only one place",
         Belong, Severity::kWarning},
        {"read-only", "attributes are read-only", "the attribute was registered with the setter of its property",
         ReadOnly},
        {"complete", "in a class with attributes, every property has one", "a property was added without its attribute",
         Complete, Severity::kWarning},
        {"described", "the attribute of a writable number is not nil", "the key is looked up under another name",
         Described},
        {"same-content", "an attribute has the same content on every read",
         "the description is made from the current values of the object", SameContent},
        {"outlive-owner", "an attribute stays valid after its object is destroyed",
         "the description is borrowed from the object instead of retained", OutliveOwner},
        {"unconstructed", "reading an attribute of an unconstructed object raises nothing",
         "the getter does not test whether the object has been constructed", Unconstructed},
        {"defaults", "a new object has the defaults that its attributes name",
         "the constructor does not set the defaults", Defaults, Severity::kWarning},
        {"ranges", "Min is not above Max", "the two limits are swapped", Ranges, Severity::kWarning},
    };
}

}  // namespace checker
