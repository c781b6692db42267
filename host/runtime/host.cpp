// host.cpp - makes objects, calls members and throws the exceptions that modules raise.

#include "host/runtime/host.h"

#include <array>
#include <cstdio>
#include <new>
#include <optional>
#include <variant>

#include "host/runtime/argument.h"
#include "host/runtime/declaration.h"
#include "host/runtime/describe.h"
#include "host/runtime/errors.h"
#include "host/runtime/exception_classes.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/string.h"
#include "host/runtime/suggestion.h"
#include "host/runtime/trace.h"

namespace host {

namespace {

Host* current = nullptr;

void ReportToStandardError(const std::string& message) { std::fprintf(stderr, "host: %s\n", message.c_str()); }

HostOptions WithDefaults(HostOptions options) {
    if (!options.report) options.report = ReportToStandardError;
    if (!options.onLostTrace) options.onLostTrace = options.report;
    return options;
}

// Memory that is enough for an exception, its message and what a script keeps of them. Smaller than what the allocator
// asks the system for separately, so that small blocks find place in it when it is freed.
constexpr std::size_t kReserve = 64 << 10;

// "Class.member", the subject of errors about a member.
std::string Subject(const Class& isa, std::string_view member) { return isa.Name() + "." + std::string(member); }

// The error for a property or method that a class does not have.
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

// Returns the member that was found under a name if it is a property. Otherwise throws the reason.
const Member& PropertyOf(const Class& isa, std::string_view name, const Member* found,
                         const std::vector<Member>& (Class::*membersOf)() const) {
    if (found == nullptr) throw UnknownMember(isa, name, "property", membersOf);
    if (found->declaration.kind != MemberKind::kProperty) {
        throw HostError(Subject(isa, name), "it is a method, not a property");
    }
    return *found;
}

// Returns the member that was found under a name if it is a method. Otherwise throws the reason.
const Member& MethodOf(const Class& isa, std::string_view name, const Member* found,
                       const std::vector<Member>& (Class::*membersOf)() const) {
    if (found == nullptr) throw UnknownMember(isa, name, "method", membersOf);
    if (found->declaration.kind != MemberKind::kMethod) {
        throw HostError(Subject(isa, name), "it is a property, not a method");
    }
    return *found;
}

// Returns the class of the object whose member is used. Throws for null.
const Class& ClassOf(const ZEVAobjectStruct* object, std::string_view member) {
    if (object == nullptr) throw HostError("nil." + std::string(member), "there is no object");
    return *object->isa;
}

// Records in the trace that a member is called: "get CIColorQOR.Red", "set ...", "CIImageQOR.Open".
void BeginMember(Trace& trace, const Class& isa, const Member& member, bool isSetter, ZEVAobjectStruct* receiver,
                 const Argument* arguments) {
    const Declaration& declaration = member.declaration;
    const bool isProperty = declaration.kind == MemberKind::kProperty;
    Trace::Json passed = Trace::Json::MakeArray();
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
      trace_(options_.trace.empty() ? nullptr : std::make_unique<Trace>(options_.trace, options_.onLostTrace)),
      classes_(options_.report) {
    if (current != nullptr) throw HostError("host", "this process already has one");
    current = this;
    Install(this);
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
               " strings are still referenced at its end; they are never freed");
    }
    Install(nullptr);
    current = nullptr;
}

Host& Host::Current() { return *current; }

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
    return GetMember(isa, member, object);
}

void Host::Set(ZEVAobjectStruct* object, std::string_view property, const Value& value) {
    const Class& isa = ClassOf(object, property);
    SetMember(isa, PropertyOf(isa, property, isa.FindMember(property), &Class::Members), object, value);
}

Value Host::GetShared(std::string_view className, std::string_view property) {
    const Class& isa = classes_.Linked(className);
    const Member& member = PropertyOf(isa, property, isa.FindSharedMember(property), &Class::SharedMembers);
    return GetMember(isa, member, nullptr);
}

void Host::SetShared(std::string_view className, std::string_view property, const Value& value) {
    const Class& isa = classes_.Linked(className);
    SetMember(isa, PropertyOf(isa, property, isa.FindSharedMember(property), &Class::SharedMembers), nullptr, value);
}

void Host::SetMember(const Class& isa, const Member& property, ZEVAobjectStruct* receiver, const Value& value) {
    const Declaration& declaration = property.declaration;
    const auto subject = [&] { return Subject(isa, declaration.name); };
    if (property.setter == nullptr) throw HostError(subject(), "the property is read-only; it keeps its value");
    std::optional<Argument> argument = ArgumentFor(declaration.result, value);
    if (!argument) {
        throw HostError(subject(), "expected " + declaration.result.word + ", got " + Describe(value) +
                                       "; the property keeps its value");
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
    if (reserve_ == nullptr) reserve_.reset(new (std::nothrow) char[kReserve]);
    if (options_.failures.forget != nullptr) options_.failures.forget();
    ObjectReference raised =
        RaisedBy([&] { result = interface.Call(isSetter ? member.setter : member.function, receiver, arguments); });
    if (!raised && !isSetter) raised = ReasonForNil(isa, member, result);
    if (trace_) {
        const bool hasResult = !isSetter && member.declaration.result.kind != TypeKind::kNone;
        trace_->End(hasResult ? OutcomeJson(raised, result) : OutcomeJson(raised));
    }
    Throw(std::move(raised));
    return result;
}

ObjectReference Host::NewException(const char* className, const std::string& message) {
    ObjectReference exception = NewInstance(className);
    Set(exception.Get(), "Message", NewString(message));
    return exception;
}

ObjectReference Host::ReasonForNil(const Class& isa, const Member& member, const Value& result) {
    const Declaration& declaration = member.declaration;
    const bool isMissing =
        declaration.result.kind == TypeKind::kObject && std::holds_alternative<std::monostate>(result);
    if (!isMissing || options_.failures.reason == nullptr) return {};
    const std::string reason = options_.failures.reason();
    if (reason.empty()) return {};
    return NewException("RuntimeException", Subject(isa, declaration.name) + ": " + reason);
}

void Host::RaiseNew(const char* className, const std::string& message) noexcept {
    try {
        Raise(NewException(className, message));
    } catch (const std::exception&) {
        Report(message);
    }
}

void Host::RaiseOutOfMemory(const char* subject, std::size_t bytes) noexcept {
    if (pending_) return;
    reserve_.reset();
    RaiseNew("OutOfMemoryException", OutOfMemory(subject, bytes).what());
}

void Host::Raise(ObjectReference exception) {
    if (!exception) return Report("RuntimeRaiseException: the exception is null; nothing is raised");
    if (!pending_) {
        pending_ = std::move(exception);
        return;
    }
    // What else goes wrong when memory is short is a consequence.
    if (pending_->isa->Name() == "OutOfMemoryException") return;
    Report(exception->isa->Name() + ": raised while a " + pending_->isa->Name() + " is pending; it is dropped");
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

void Host::ObjectCreated(ZEVAobjectStruct* object) {
    ++liveObjects_;
    if (options_.onNewObject) options_.onNewObject(object);
}

void Host::StringCreated(ZEVAstringStruct* string) {
    ++liveStrings_;
    if (options_.onNewString) options_.onNewString(string);
}

void Host::CallLifecycleFunction(const char* kind, const Class& isa, void (*function)(ZEVAobjectStruct*),
                                 ZEVAobjectStruct* object) {
    if (trace_) trace_->Begin(std::string(kind) + " " + isa.Name(), kToModule, {{"object", TraceJson(object)}});
    function(object);
    if (trace_) trace_->End({});
}

}  // namespace host
