// host.cpp - what a program asks of the runtime.

#include "host/runtime/host.h"

#include <array>
#include <cstdio>

#include "host/runtime/errors.h"
#include "host/runtime/exception_classes.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/services.h"
#include "host/runtime/string.h"
#include "host/runtime/suggestion.h"
#include "host/runtime/trace.h"

namespace host {

namespace {

Host* current = nullptr;

void ReportToStandardError(const std::string& message) { std::fprintf(stderr, "host: %s\n", message.c_str()); }

HostOptions WithDefaults(HostOptions options) {
    if (!options.report) options.report = ReportToStandardError;
    return options;
}

// "Class.member", what errors about a member are about.
std::string Subject(const Class& isa, std::string_view member) { return isa.Name() + "." + std::string(member); }

// What to say to somebody who asked a class for a property or method that it does not have.
HostError UnknownMember(const Class& isa, std::string_view name, const char* kind,
                        const std::vector<Member>& (Class::*membersOf)() const) {
    std::vector<std::string> known;
    for (const Class* each = &isa; each != nullptr; each = each->Superclass()) {
        for (const Member& member : (each->*membersOf)()) {
            if (member.declaration.kind != MemberKind::kConstructor) known.push_back(member.declaration.name);
        }
    }
    return HostError(Subject(isa, name), "the class has no such " + std::string(kind) + Suggestion(name, known));
}

// The property that was found under the name, or the error that says why there is none.
const Member& PropertyOf(const Class& isa, std::string_view name, const Member* found,
                         const std::vector<Member>& (Class::*membersOf)() const) {
    if (found == nullptr) throw UnknownMember(isa, name, "property", membersOf);
    if (found->declaration.kind != MemberKind::kProperty) {
        throw HostError(Subject(isa, name), "it is a method, not a property");
    }
    return *found;
}

// The method that was found under the name, or the error that says why there is none.
const Member& MethodOf(const Class& isa, std::string_view name, const Member* found,
                       const std::vector<Member>& (Class::*membersOf)() const) {
    if (found == nullptr) throw UnknownMember(isa, name, "method", membersOf);
    if (found->declaration.kind != MemberKind::kMethod) {
        throw HostError(Subject(isa, name), "it is a property, not a method");
    }
    return *found;
}

// The class of an object whose member is wanted, or the error that says that there is no object.
const Class& ClassOf(const ZEVAobjectStruct* object, std::string_view member) {
    if (object == nullptr) throw HostError("nil." + std::string(member), "there is no object");
    return *object->isa;
}

// How a call ended, for the trace.
Trace::Json Outcome(const ObjectReference& raised) {
    return raised ? Trace::Json{{"raised", raised->isa->Name()}} : Trace::Json();
}
Trace::Json Outcome(const ObjectReference& raised, const Value& result) {
    return raised ? Outcome(raised) : Trace::Json{{"result", TraceJson(result)}};
}

// Tells the trace that a member is called: "get CIColorQOR.Red", "set ...", "CIImageQOR.Open".
void BeginMember(Trace& trace, const Class& isa, const Member& member, bool isSetter, ZEVAobjectStruct* receiver,
                 const Argument* arguments) {
    const Declaration& declaration = member.declaration;
    const bool isProperty = declaration.kind == MemberKind::kProperty;
    Trace::Json passed = Trace::Json::array();
    if (isSetter) passed.push_back(TraceJson(declaration.result, *arguments));
    for (std::size_t i = 0; i < declaration.parameters.size(); ++i) {
        passed.push_back(TraceJson(declaration.parameters[i].type, arguments[i]));
    }
    const char* use = !isProperty ? "" : isSetter ? "set " : "get ";
    trace.Begin(use + Subject(isa, declaration.name), kToModule,
                {{"object", TraceJson(receiver)}, {"arguments", std::move(passed)}});
}

std::string CountText(std::size_t count) { return std::to_string(count) + (count == 1 ? " argument" : " arguments"); }

}  // namespace

Host::Host(HostOptions options)
    : options_(WithDefaults(std::move(options))),
      trace_(options_.trace.empty() ? nullptr : std::make_unique<Trace>(options_.trace)),
      classes_(options_.report) {
    if (current != nullptr) throw HostError("host", "there is one in this process already");
    current = this;
    classes_.Register(&kMemoryBlockClass.record);
    for (const ZEVAclassDefinition& definition : ExceptionClasses()) classes_.Register(&definition.record);
}

Host::~Host() {
    pending_ = {};
    for (const auto& thrown : thrown_) {
        if (const auto object = thrown.lock()) *object = {};
    }
    if (liveObjects_ != 0 || liveStrings_ != 0) {
        Report("host: " + std::to_string(liveObjects_) + " objects and " + std::to_string(liveStrings_) +
               " strings are still referenced at its end, they are never freed");
    }
    current = nullptr;
}

Host& Host::Current() { return *current; }

const Module& Host::LoadModule(const std::filesystem::path& path, ZEVAresolver resolver) {
    const auto entryPoint = LoadEntryPoint(path);
    auto module = std::make_unique<Module>();
    module->path = path;
    const std::size_t classesBefore = classes_.All().size();
    loading_ = module.get();
    if (trace_) trace_->Begin("load " + path.string(), kToModule, {});
    if (resolver == nullptr) resolver = trace_ ? ResolveTracedService : ResolveService;
    ObjectReference raised = RaisedBy([&] { entryPoint(resolver); });
    if (trace_) trace_->End(Outcome(raised));
    loading_ = nullptr;
    module->classes.assign(classes_.All().begin() + static_cast<std::ptrdiff_t>(classesBefore), classes_.All().end());
    modules_.push_back(std::move(module));
    Throw(std::move(raised));
    return *modules_.back();
}

ObjectReference Host::NewInstance(std::string_view className) {
    ObjectReference object = NewObject(classes_.Linked(className));
    Throw(RaisedBy([&] { Initialize(object.Get()); }));
    return object;
}

ObjectReference Host::Construct(std::string_view className, std::span<const Value> arguments) {
    const Class& isa = classes_.Linked(className);
    const Member* constructor = isa.FindConstructor(arguments.size());
    if (constructor == nullptr && !arguments.empty()) {
        throw HostError(isa.Name(), "the class has no constructor with " + CountText(arguments.size()));
    }
    ObjectReference object = NewInstance(className);
    if (constructor != nullptr) {
        CallMember(isa, *constructor, object.Get(), arguments);
    }
    return object;
}

Value Host::Get(ZEVAobjectStruct* object, std::string_view property) {
    const Class& isa = ClassOf(object, property);
    const Member& member = PropertyOf(isa, property, isa.FindMember(property), &Class::Members);
    return CallFunction(isa, member, Use::kFunction, object, nullptr);
}

void Host::Set(ZEVAobjectStruct* object, std::string_view property, const Value& value) {
    const Class& isa = ClassOf(object, property);
    SetMember(isa, PropertyOf(isa, property, isa.FindMember(property), &Class::Members), object, value);
}

Value Host::GetShared(std::string_view className, std::string_view property) {
    const Class& isa = classes_.Linked(className);
    const Member& member = PropertyOf(isa, property, isa.FindSharedMember(property), &Class::SharedMembers);
    return CallFunction(isa, member, Use::kFunction, nullptr, nullptr);
}

void Host::SetShared(std::string_view className, std::string_view property, const Value& value) {
    const Class& isa = classes_.Linked(className);
    SetMember(isa, PropertyOf(isa, property, isa.FindSharedMember(property), &Class::SharedMembers), nullptr, value);
}

void Host::SetMember(const Class& isa, const Member& property, ZEVAobjectStruct* receiver, const Value& value) {
    const Declaration& declaration = property.declaration;
    const std::string subject = Subject(isa, declaration.name);
    if (property.setter == nullptr) throw HostError(subject, "the property is read-only, it keeps its value");
    std::optional<Argument> argument = ArgumentFor(declaration.result, value);
    if (!argument) {
        throw HostError(subject, "expected " + declaration.result.word + ", got " + Describe(value) +
                                     ", the property keeps its value");
    }
    CallFunction(isa, property, Use::kSetter, receiver, &*argument);
}

Value Host::Call(ZEVAobjectStruct* object, std::string_view method, std::span<const Value> arguments) {
    const Class& isa = ClassOf(object, method);
    const Member& member = MethodOf(isa, method, isa.FindMember(method), &Class::Members);
    return CallMember(isa, member, object, arguments);
}

Value Host::CallShared(std::string_view className, std::string_view method, std::span<const Value> arguments) {
    const Class& isa = classes_.Linked(className);
    const Member& member = MethodOf(isa, method, isa.FindSharedMember(method), &Class::SharedMembers);
    return CallMember(isa, member, nullptr, arguments);
}

Value Host::CallMember(const Class& isa, const Member& member, ZEVAobjectStruct* receiver,
                       std::span<const Value> values) {
    const auto subject = [&] { return Subject(isa, member.declaration.name); };
    const std::vector<Parameter>& parameters = member.declaration.parameters;
    if (parameters.size() != values.size()) {
        throw HostError(subject(), "it takes " + CountText(parameters.size()) + " " +
                                       ParameterText(member.declaration) + ", got " + std::to_string(values.size()));
    }
    std::array<Argument, kMaximumParameters> arguments;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::optional<Argument> argument = ArgumentFor(parameters[i].type, values[i]);
        if (!argument) {
            throw HostError(subject(), "expected " + parameters[i].type.word + " for " + parameters[i].name + ", got " +
                                           Describe(values[i]));
        }
        arguments[i] = *argument;
    }
    return CallFunction(isa, member, Use::kFunction, receiver, arguments.data());
}

Value Host::CallFunction(const Class& isa, const Member& member, Use use, ZEVAobjectStruct* receiver,
                         Argument* arguments) {
    const bool isSetter = use == Use::kSetter;
    const CallInterface& interface = isSetter ? member.setInterface : member.interface;
    if (trace_) BeginMember(*trace_, isa, member, isSetter, receiver, arguments);
    Value result;
    ObjectReference raised =
        RaisedBy([&] { result = interface.Call(isSetter ? member.setter : member.function, receiver, arguments); });
    if (trace_) {
        const bool hasResult = !isSetter && member.declaration.result.kind != TypeKind::kNone;
        trace_->End(hasResult ? Outcome(raised, result) : Outcome(raised));
    }
    Throw(std::move(raised));
    return result;
}

void Host::Raise(ObjectReference exception) {
    if (!exception) return Report("RuntimeRaiseException: the exception is null, nothing is raised");
    if (!pending_) {
        pending_ = std::move(exception);
        return;
    }
    Report(exception->isa->Name() + ": raised while a " + pending_->isa->Name() + " is pending, it is dropped");
}

void Host::Throw(ObjectReference exception) {
    if (!exception) return;
    const Class& isa = *exception->isa;
    std::string message;
    std::int32_t errorNumber = 0;
    if (isa.IsA("RuntimeException")) {
        const Value text = Get(exception.Get(), "Message");
        if (const auto* string = std::get_if<StringReference>(&text)) message = (*string)->bytes;
        errorNumber = std::get<std::int32_t>(Get(exception.Get(), "ErrorNumber"));
    }
    std::erase_if(thrown_, [](const auto& thrown) { return thrown.expired(); });
    auto shared = std::make_shared<ObjectReference>(std::move(exception));
    thrown_.push_back(shared);
    throw HostException(std::move(shared), isa.Name(), message, errorNumber);
}

void Host::NoteNew(ZEVAobjectStruct* object) {
    ++liveObjects_;
    if (options_.onNewObject) options_.onNewObject(object);
}

void Host::NoteNew(ZEVAstringStruct* string) {
    ++liveStrings_;
    if (options_.onNewString) options_.onNewString(string);
}

void Host::NoteAnnouncedVersion(std::int32_t version) {
    if (loading_ == nullptr) return Report("RegisterPluginVersion: called with no module being loaded, it is ignored");
    if (version < kOldestRecordVersion || version > kNewestRecordVersion) {
        Report("module " + loading_->path.string() + ": it announces record version " + std::to_string(version) +
               ", this host reads " + std::to_string(kOldestRecordVersion) + "..." +
               std::to_string(kNewestRecordVersion));
    }
    loading_->announcedVersion = version;
}

}  // namespace host
