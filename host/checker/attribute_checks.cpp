// attribute_checks.cpp - the read-only companions "Attribute<key>" that describe a property each.

#include "host/checker/check.h"
#include "host/checker/exercise.h"

namespace checker {

namespace {

using host::Member;
using host::ObjectReference;
using host::TypeKind;

constexpr const char* kNone = "no class has a property named Attribute and a key, with an object as its value";

template <typename Look>
void ForEachAttribute(Examination& examination, Stage& stage, Look look) {
    for (const host::Class* isa : stage.Classes()) {
        for (const Member& attribute : isa->Members()) {
            if (!IsAttribute(attribute)) continue;
            examination.Seen();
            look(*isa, attribute, MemberName(*isa, attribute));
            stage.watch.Settle();
        }
    }
    examination.SkipUnlessSeen(kNone);
}

// What an attribute object says: its plain properties, a line each.
std::string ContentOf(Stage& stage, const ObjectReference& attribute) {
    std::string text;
    for (const Member& property : attribute->isa->Members()) {
        if (!IsProperty(property) || property.declaration.result.kind == TypeKind::kObject) continue;
        text += property.declaration.name + " = " + Words(stage.Read(attribute, property).value) + "\n";
    }
    return text;
}

// The lines of one content that another has otherwise, the first of them.
std::string Difference(const std::string& one, const std::string& other) {
    std::size_t line = 0;
    for (std::size_t i = 0; i < one.size() && i < other.size() && one[i] == other[i]; ++i) {
        if (one[i] == '\n') line = i + 1;
    }
    return other.substr(line, other.find('\n', line) - line);
}

void Belong(Examination& examination) {
    ForEachAttribute(examination, examination.Load(),
                     [&](const host::Class& isa, const Member& attribute, const auto& where) {
                         const Member* described = DescribedProperty(isa, attribute);
                         if (described == nullptr || !IsProperty(*described)) {
                             examination.Report(where, "a property of the name after Attribute", "none");
                         }
                     });
}

void ReadOnly(Examination& examination) {
    ForEachAttribute(examination, examination.Load(),
                     [&](const host::Class&, const Member& attribute, const auto& where) {
                         if (attribute.setter != nullptr) examination.Report(where, "no setter", "one");
                     });
}

void Complete(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachAttribute(examination, stage, [&](const host::Class& isa, const Member& first, const auto&) {
        for (const Member& attribute : isa.Members()) {
            if (!IsAttribute(attribute)) continue;
            if (&attribute != &first) return;  // each class once
            break;
        }
        for (const Member& property : isa.Members()) {
            if (!IsProperty(property) || IsAttribute(property)) continue;
            const Member* attribute = isa.FindMember("Attribute" + property.declaration.name);
            if (attribute == nullptr)
                examination.Report(MemberName(isa, property), "a companion that describes it", "none");
        }
    });
}

void Described(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachAttribute(examination, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        const Member* described = DescribedProperty(isa, attribute);
        if (described == nullptr || !IsWritable(*described) || described->declaration.result.kind != TypeKind::kDouble)
            return;
        const ObjectReference object = stage.New(isa);
        if (!object) return;
        if (!ObjectIn(stage.Read(object, attribute).value))
            examination.Report(where, "a description of the number", "nil");
    });
}

void SameContent(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachAttribute(examination, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        const ObjectReference object = stage.New(isa);
        if (!object) return;
        const ObjectReference first = ObjectIn(stage.Read(object, attribute).value);
        const ObjectReference second = ObjectIn(stage.Read(object, attribute).value);
        if (!first || !second) return;
        const std::string one = ContentOf(stage, first), other = ContentOf(stage, second);
        if (one != other)
            examination.Report(where, Difference(other, one), Difference(one, other) + " the second time");
    });
}

void OutliveOwner(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachAttribute(
        examination, stage, [&](const host::Class& isa, const Member& attribute, const std::string& where) {
            ObjectReference object = stage.New(isa);
            if (!object) return;
            const ObjectReference description = ObjectIn(stage.Read(object, attribute).value);
            if (!description) return;
            const std::string before = ContentOf(stage, description);
            object = {};
            stage.watch.Settle();
            const std::string after = ContentOf(stage, description);
            if (before == after) return;
            examination.Report(where, Difference(after, before), Difference(before, after) + " after the object's end");
        });
}

void Unconstructed(Examination& examination) {
    Stage& stage = examination.Load();
    // Kept to the end of the process: how such objects end is the business of another check.
    static std::vector<ObjectReference> objects;
    ForEachAttribute(examination, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        objects.push_back(stage.NewUnconstructed(isa));
        if (!objects.back()) return;
        const Answer answer = stage.Read(objects.back(), attribute);
        if (answer.raised) examination.Report(where, "a description or nil", "a " + answer.raised->isa->Name());
    });
}

// A number that an attribute object says under a name; none when it says none.
std::optional<double> NumberOf(Stage& stage, const ObjectReference& attribute, const char* name) {
    const Member* property = attribute->isa->FindMember(name);
    if (property == nullptr || !IsProperty(*property)) return std::nullopt;
    const host::Value value = stage.Read(attribute, *property).value;
    const auto* number = std::get_if<double>(&value);
    return number != nullptr ? std::optional(*number) : std::nullopt;
}

void Defaults(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachAttribute(examination, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        const Member* described = DescribedProperty(isa, attribute);
        if (described == nullptr || described->declaration.result.kind != TypeKind::kDouble) return;
        const ObjectReference object = stage.New(isa);
        const ObjectReference description = object ? ObjectIn(stage.Read(object, attribute).value) : ObjectReference();
        if (!description) return;
        const auto said = NumberOf(stage, description, "Default");
        const host::Value value = stage.Read(object, *described).value;
        const auto* number = std::get_if<double>(&value);
        if (!said || number == nullptr || static_cast<float>(*number) == static_cast<float>(*said)) return;
        examination.Report(where, "the default " + host::NumberText(*said) + " in a new object",
                           host::NumberText(*number));
    });
}

void Ranges(Examination& examination) {
    Stage& stage = examination.Load();
    ForEachAttribute(examination, stage, [&](const host::Class& isa, const Member& attribute, const auto& where) {
        const ObjectReference object = stage.New(isa);
        const ObjectReference description = object ? ObjectIn(stage.Read(object, attribute).value) : ObjectReference();
        if (!description) return;
        const auto least = NumberOf(stage, description, "Min"), most = NumberOf(stage, description, "Max");
        // One that is not said reads as 0.
        if (!least || !most || *most == 0 || *least <= *most) return;
        examination.Report(where, "Min not above Max", host::NumberText(*least) + " and " + host::NumberText(*most));
    });
}

}  // namespace

std::vector<Check> AttributeChecks() {
    return {
        {"belong", "each Attribute<key> describes a property of its class", "a key was renamed in one place only",
         Belong, Weight::kWarning},
        {"read-only", "attributes cannot be written", "the setter of the property was given to its companion",
         ReadOnly},
        {"complete", "in a class with attributes every property has one", "a property was added without its companion",
         Complete, Weight::kWarning},
        {"described", "the attribute of a writable number describes it", "the key is looked up under another name",
         Described},
        {"same-content", "an attribute says the same every time",
         "the description is made from what the object holds now", SameContent},
        {"outlive-owner", "an attribute lives on when its object has ended",
         "the description is borrowed from the object, not retained", OutliveOwner},
        {"unconstructed", "an object that no constructor has seen answers nil or a description",
         "the description is fetched without looking whether there is anything to ask", Unconstructed},
        {"defaults", "a new object holds the default that the attribute names",
         "the defaults are not set by the constructor", Defaults, Weight::kWarning},
        {"ranges", "Min is not above Max", "the two were exchanged", Ranges, Weight::kWarning},
    };
}

}  // namespace checker
