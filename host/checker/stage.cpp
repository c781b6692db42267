// stage.cpp - loading everything, and calling members so that nothing that comes out of a module is lost.

#include "host/checker/stage.h"

#include <malloc.h>

#include <array>

#include "host/runtime/argument.h"
#include "host/runtime/describe.h"
#include "host/runtime/errors.h"
#include "host/runtime/object.h"

namespace checker {

namespace {

constexpr std::string_view kAttributePrefix = "Attribute";

// What freed memory is filled with, so that whoever still reads it finds no sense there.
constexpr int kFreedByte = 0x5A;

host::HostOptions OptionsFor(Stage& stage, double version, const host::CallScope& callScope) {
    return {.version = version,
            .callScope = callScope,
            .report = [&stage](const std::string& message) { stage.messages.push_back(message); },
            .onNewObject = [&stage](ZEVAobjectStruct* object) { stage.watch.objects.Note(object); },
            .onNewString = [&stage](ZEVAstringStruct* string) { stage.watch.strings.Note(string); }};
}

}  // namespace

Stage::Stage(const Subject& subject, StageOptions options)
    : host(OptionsFor(*this, options.hostVersion.value_or(subject.hostVersion), subject.callScope)) {
    mallopt(M_PERTURB, kFreedByte);
    watch.hasVersion = options.hasVersion;
    watch.guardsBlocks = options.guardsBlocks;
    const auto loadSiblings = [&] {
        for (const std::filesystem::path& sibling : subject.siblings) {
            watch.BeginStep("loading " + sibling.string());
            host.LoadModule(sibling, Watch::ResolveForSibling);
        }
    };
    if (options.siblingsComeFirst) loadSiblings();
    watch.SetFaults(std::move(options.faults));
    watch.BeginStep("loading " + subject.module.string());
    try {
        module = &host.LoadModule(subject.module, Watch::ResolveForModule);
    } catch (const host::HostException&) {
        module = host.Modules().back().get();  // loaded all the same; the watch knows what was raised
    }
    if (!options.siblingsComeFirst) loadSiblings();
}

std::vector<const host::Class*> Stage::Classes() {
    std::vector<const host::Class*> linked;
    for (const host::Class* isa : module->classes) {
        try {
            linked.push_back(&host.Classes().Linked(isa->Name()));
        } catch (const host::HostError&) {
            // Its superclass is missing, which is the business of a check of its own.
        }
    }
    return linked;
}

host::ObjectReference Stage::NewUnconstructed(const host::Class& isa) {
    watch.BeginStep("making a " + isa.Name());
    host::ObjectReference object = host::NewObject(isa);
    const host::ObjectReference raised = host.RaisedBy([&] { host::Initialize(object.Get()); });
    return raised ? host::ObjectReference() : object;
}

host::ObjectReference Stage::New(const host::Class& isa) {
    host::ObjectReference object = NewUnconstructed(isa);
    if (!object || !Construct(object).IsGood()) return {};
    return object;
}

Answer Stage::Construct(const host::ObjectReference& object) {
    const host::Member* constructor = object->isa->FindConstructor(0);
    if (constructor == nullptr) return {};
    return Run("constructing a " + object->isa->Name(), constructor->function, constructor->interface, object, {}, {});
}

Answer Stage::Read(const host::ObjectReference& object, const host::Member& property) {
    return Run("reading " + MemberName(*object->isa, property), property.function, property.interface, object, {}, {});
}

Answer Stage::Write(const host::ObjectReference& object, const host::Member& property, const host::Value& value) {
    const host::Declaration& declaration = property.declaration;
    return Run("writing " + host::Describe(value) + " to " + MemberName(*object->isa, property), property.setter,
               property.setInterface, object, {{declaration.name, declaration.result}}, {value});
}

Answer Stage::Call(const host::ObjectReference& object, const host::Member& method,
                   const std::vector<host::Value>& arguments) {
    return Run("calling " + MemberName(*object->isa, method), method.function, method.interface, object,
               method.declaration.parameters, arguments);
}

Answer Stage::CallShared(const host::Class& isa, const host::Member& method,
                         const std::vector<host::Value>& arguments) {
    return Run("calling " + MemberName(isa, method), method.function, method.interface, {},
               method.declaration.parameters, arguments);
}

Answer Stage::Run(const std::string& step, ZEVAentry function, const host::CallInterface& interface,
                  const host::ObjectReference& receiver, const std::vector<host::Parameter>& parameters,
                  const std::vector<host::Value>& values) {
    std::array<host::Argument, host::kMaximumParameters> arguments;
    for (std::size_t i = 0; i < values.size(); ++i) {
        arguments[i] = host::ArgumentFor(parameters[i].type, values[i]).value_or(host::Argument{.pointer = nullptr});
    }
    watch.BeginStep(step);
    Answer answer;
    answer.raised = host.RaisedBy([&] {
        try {
            answer.value = interface.Call(function, receiver.Get(), arguments.data());
        } catch (...) {
            answer.leftByException = true;
        }
    });
    if (answer.leftByException) watch.AddBreach(Breach::kForeignException, "an exception that left the module");
    if (!watch.TakeAnswer(answer.value)) {
        // Nothing that could be given back.
        if (auto* object = std::get_if<host::ObjectReference>(&answer.value)) object->Leak();
        if (auto* string = std::get_if<host::StringReference>(&answer.value)) string->Leak();
        answer.value = {};
    }
    return answer;
}

host::ObjectReference ObjectIn(const host::Value& value) {
    const auto* object = std::get_if<host::ObjectReference>(&value);
    return object != nullptr ? *object : host::ObjectReference();
}

std::string MemberName(const host::Class& isa, const host::Member& member) {
    return isa.Name() + "." + member.declaration.name;
}

bool IsProperty(const host::Member& member) { return member.declaration.kind == host::MemberKind::kProperty; }

bool IsWritable(const host::Member& member) { return IsProperty(member) && member.setter != nullptr; }

bool IsAttribute(const host::Member& member) {
    const host::Declaration& declaration = member.declaration;
    return IsProperty(member) && declaration.name.starts_with(kAttributePrefix) &&
           declaration.name.size() > kAttributePrefix.size() && declaration.result.kind == host::TypeKind::kObject;
}

const host::Member* DescribedProperty(const host::Class& isa, const host::Member& attribute) {
    return isa.FindMember(attribute.declaration.name.substr(kAttributePrefix.size()));
}

}  // namespace checker
