// stage.cpp - loads the modules, and calls members so that every result, exception and reference is accounted for.

#include "host/checker/stage.h"

#include <malloc.h>

#include <array>
#include <string_view>
#include <utility>

#include "host/runtime/argument.h"
#include "host/runtime/describe.h"
#include "host/runtime/errors.h"
#include "host/runtime/object.h"

namespace checker {

namespace {

constexpr std::string_view kAttributePrefix = "Attribute";

// glibc fills freed memory with this byte, so reading it after the free gives a wrong value.
constexpr int kFreedByte = 0x5A;

host::HostOptions OptionsFor(Stage& stage, double version, const host::CallScope& callScope) {
    return {.version = version,
            .callScope = callScope,
            .report = [&stage](const std::string& message) { stage.messages.push_back(message); },
            .onNewObject = [&stage](ZEVAobjectStruct* object) { stage.watch.objects.Note(object); },
            .onNewString = [&stage](ZEVAstringStruct* string) { stage.watch.strings.Note(string); }};
}

}  // namespace

Stage::Stage(const CheckedModule& checked, StageOptions options)
    : host(OptionsFor(*this, options.hostVersion.value_or(checked.hostVersion), checked.callScope)) {
    mallopt(M_PERTURB, kFreedByte);
    watch.hasVersion = options.hasVersion;
    watch.guardsBlocks = options.guardsBlocks;
    const auto loadSiblings = [&] {
        for (const std::filesystem::path& sibling : checked.siblings) {
            watch.BeginStep("loading " + sibling.string());
            host.LoadModule(sibling, Watch::ResolveForSibling);
        }
    };
    if (options.siblingsComeFirst) loadSiblings();
    watch.SetFaults(std::move(options.faults));
    watch.BeginStep("loading " + checked.path.string());
    try {
        module = &host.LoadModule(checked.path, Watch::ResolveForModule);
    } catch (const host::HostException&) {
        module = host.Modules().back().get();  // the module is loaded; the watch has noted the exception
    }
    if (!options.siblingsComeFirst) loadSiblings();
}

std::vector<const host::Class*> Stage::Classes() {
    std::vector<const host::Class*> linked;
    for (const host::Class* isa : module->classes) {
        try {
            linked.push_back(&host.Classes().Linked(isa->Name()));
        } catch (const host::HostError&) {
            // The superclass is missing. registration.superclasses reports that.
        }
    }
    return linked;
}

host::ObjectReference Stage::NewUnconstructed(const host::Class& isa) {
    watch.BeginStep("creating a " + isa.Name());
    host::ObjectReference object = host::NewObject(isa);
    const host::ObjectReference raised = host.RaisedBy([&] { host::Initialize(object.Get()); });
    return raised ? host::ObjectReference() : object;
}

host::ObjectReference Stage::New(const host::Class& isa) {
    host::ObjectReference object = NewUnconstructed(isa);
    if (!object || !Construct(object).Succeeded()) return {};
    return object;
}

CallResult Stage::Construct(const host::ObjectReference& object) {
    const host::Member* constructor = object->isa->FindConstructor(0);
    if (constructor == nullptr) return {};
    return Run("constructing a " + object->isa->Name(), constructor->function, constructor->interface, object, {}, {});
}

CallResult Stage::Read(const host::ObjectReference& object, const host::Member& property) {
    return Run("reading " + MemberName(*object->isa, property), property.function, property.interface, object, {}, {});
}

CallResult Stage::Write(const host::ObjectReference& object, const host::Member& property, const host::Value& value) {
    const host::Declaration& declaration = property.declaration;
    return Run("writing " + host::Describe(value) + " to " + MemberName(*object->isa, property), property.setter,
               property.setInterface, object, {{declaration.name, declaration.result}}, {value});
}

CallResult Stage::Call(const host::ObjectReference& object, const host::Member& method,
                       const std::vector<host::Value>& arguments) {
    return Run("calling " + MemberName(*object->isa, method), method.function, method.interface, object,
               method.declaration.parameters, arguments);
}

CallResult Stage::CallShared(const host::Class& isa, const host::Member& method,
                             const std::vector<host::Value>& arguments) {
    return Run("calling " + MemberName(isa, method), method.function, method.interface, {},
               method.declaration.parameters, arguments);
}

CallResult Stage::Run(const std::string& step, ZEVAentry function, const host::CallInterface& interface,
                      const host::ObjectReference& receiver, const std::vector<host::Parameter>& parameters,
                      const std::vector<host::Value>& values) {
    std::array<host::Argument, host::kMaximumParameters> arguments;
    for (std::size_t i = 0; i < values.size(); ++i) {
        arguments[i] = host::ArgumentFor(parameters[i].type, values[i]).value_or(host::Argument{.pointer = nullptr});
    }
    watch.BeginStep(step);
    CallResult result;
    result.raised = host.RaisedBy([&] {
        try {
            result.value = interface.Call(function, receiver.Get(), arguments.data());
        } catch (...) {
            result.leftByException = true;
        }
    });
    if (result.leftByException) watch.AddBreach(Breach::kForeignException, "an exception that left the module");
    if (!watch.TakeAnswer(result.value)) {
        // The host must not release what it does not own.
        if (auto* object = std::get_if<host::ObjectReference>(&result.value)) object->Leak();
        if (auto* string = std::get_if<host::StringReference>(&result.value)) string->Leak();
        result.value = {};
    }
    return result;
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
