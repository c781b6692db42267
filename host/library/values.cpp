// values.cpp - one case for each kind of value, in both directions.

#include "host/library/values.h"

#include <string>
#include <utility>
#include <variant>

#include "host/runtime/errors.h"
#include "host/runtime/string.h"

namespace host::library {

namespace {

struct Storer {
    Session& session;
    ZevaValue& result;

    void operator()(std::monostate&) const { result.kind = kZevaNil; }
    void operator()(double& number) const {
        result.kind = kZevaNumber;
        result.as.number = number;
    }
    void operator()(std::int32_t& number) const {
        result.kind = kZevaInteger;
        result.as.integer = number;
    }
    void operator()(bool& truth) const {
        result.kind = kZevaBoolean;
        result.as.integer = truth ? 1 : 0;
    }
    void operator()(StringReference& string) const {
        result.kind = kZevaText;
        result.size = static_cast<std::int32_t>(string->bytes.size());
        result.as.text = string->bytes.c_str();
        result.owner = string.Leak();
    }
    void operator()(ObjectReference& object) const {
        result.kind = kZevaObject;
        result.isa = &session.handles.Of(*session.host, *object->isa);
        result.as.object = object.Leak();
    }
};

}  // namespace

Value ValueOf(const ZevaValue& argument, const char* subject) {
    switch (argument.kind) {
        case kZevaNil:
            return {};
        case kZevaNumber:
            return argument.as.number;
        case kZevaInteger:
            return argument.as.integer;
        case kZevaBoolean:
            return argument.as.integer != 0;
        case kZevaText:
            if (argument.as.text == nullptr || argument.size < 0) return {};
            return NewString({argument.as.text, static_cast<std::size_t>(argument.size)});
        case kZevaObject:
            if (argument.as.object == nullptr) return {};
            return ObjectReference::Retain(argument.as.object);
        default:
            throw HostError(subject, "a value has the unknown kind " + std::to_string(argument.kind));
    }
}

std::vector<Value> ValuesOf(const ZevaValue* arguments, std::int32_t count, const char* subject) {
    if (count < 0) throw HostError(subject, "the number of arguments is " + std::to_string(count));
    std::vector<Value> values;
    for (std::int32_t i = 0; i < count; ++i) values.push_back(ValueOf(arguments[i], subject));
    return values;
}

void Store(Session& session, Value value, ZevaValue* result) {
    if (result != nullptr) std::visit(Storer{session, *result}, value);
}

}  // namespace host::library
