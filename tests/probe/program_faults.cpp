// program_faults.cpp - hosts that call members wrongly, or lose exceptions.

#include <cstdint>
#include <cstring>
#include <map>
#include <type_traits>
#include <utility>

#include "host/runtime/host.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/string.h"
#include "tests/probe/faults.h"
#include "tests/probe/faulty_host.h"

namespace faulty {

namespace {

// Calls work and drops the exception that it raises.
template <typename Work>
void Swallow(Work work) {
    static_cast<void>(host::Host::Current().RaisedBy(work));
}

template <typename Signature>
void SwallowIn(const char* declaration) {
    WrapMember<Signature>("ProbeCallsQOR", declaration, [](auto* original, auto... arguments) {
        using Result = decltype(original(arguments...));
        if constexpr (std::is_void_v<Result>) {
            Swallow([&] { original(arguments...); });
        } else {
            Result result = {};
            Swallow([&] { result = original(arguments...); });
            return result;
        }
    });
}

// Raises another exception of a class with the same message and number.
void RaiseCopy(ZEVAobjectStruct* exception, const char* className) {
    host::Host& host = host::Host::Current();
    const host::ObjectReference copy = host.NewInstance(className);
    for (const char* property : {"Message", "ErrorNumber"}) {
        host.Set(copy.Get(), property, host.Get(exception, property));
    }
    Real<service::RuntimeRaiseException>(copy.Get());
}

ZEVAobjectStruct* first = nullptr;
bool hasRaised = false;
std::map<ZEVAstringStruct*, ZEVAobjectStruct*> messages;

const Fault faults[] = {
    {"calls.constructor",
     [] {
         WrapMember<Initializer>("ProbeCallsQOR", "Constructor", [](auto* original, auto* self) {
             original(self);
             original(self);
         });
     }},
    {"calls.receiver",
     [] {
         WrapMember<double(ZEVAobjectStruct*)>("ProbeCallsQOR", "Double",
                                               [](auto* original, auto* self) { return original(self + 1); });
     }},
    {"calls.double",
     [] {
         WrapSetter<void(ZEVAobjectStruct*, double)>(
             "ProbeCallsQOR", "Double",
             [](auto* original, auto* self, double number) { original(self, static_cast<float>(number)); });
     }},
    {"calls.integer",
     [] {
         WrapMember<std::int32_t(ZEVAobjectStruct*)>(
             "ProbeCallsQOR", "Integer", [](auto* original, auto* self) { return original(self) & 0x7FFFFFFF; });
     }},
    {"calls.boolean",
     [] {
         WrapSetter<void(ZEVAobjectStruct*, std::int32_t)>(
             "ProbeCallsQOR", "Boolean", [](auto* original, auto* self, int value) { original(self, -value); });
     }},
    {"calls.string",
     [] {
         WrapSetter<void(ZEVAobjectStruct*, ZEVAstringStruct*)>(
             "ProbeCallsQOR", "String", [](auto* original, auto* self, auto* string) {
                 original(self, host::NewString(string->bytes.c_str()).Get());
             });
     }},
    {"calls.block",
     [] {
         WrapSetter<void(ZEVAobjectStruct*, ZEVAmemoryBlockStruct*)>(
             "ProbeCallsQOR", "Block", [](auto* original, auto* self, auto* block) {
                 const host::ObjectReference shorter = host::NewMemoryBlock(block->size - 1);
                 original(self, reinterpret_cast<ZEVAmemoryBlockStruct*>(shorter.Get()));
             });
     }},
    {"calls.object",
     [] {
         WrapSetter<void(ZEVAobjectStruct*, ZEVAobjectStruct*)>(
             "ProbeCallsQOR", "Object",
             [](auto* original, auto* self, auto* object) { original(self, object != nullptr ? object : self); });
     }},
    {"calls.arguments",
     [] {
         WrapMember<std::int32_t(ZEVAobjectStruct*, double, std::int32_t, std::int32_t, ZEVAstringStruct*,
                                 ZEVAobjectStruct*)>(
             "ProbeCallsQOR", "Arguments",
             [](auto* original, auto* self, double number, auto count, auto flag, auto* text, auto* object) {
                 return original(self, number, flag, count, text, object);
             });
     }},
    {"calls.result",
     [] {
         WrapSetter<void(ZEVAobjectStruct*, std::int32_t)>("ProbeCallsQOR", "Returned",
                                                           [](auto* original, auto* self, auto) { original(self, 0); });
     }},
    {"calls.shared",
     [] {
         WrapMember<std::int32_t(std::int32_t, double)>(
             "ProbeCallsQOR", "Shared", [](auto* original, auto, double half) { return original(0, half); });
     }},
    {"calls.result-reference",
     [] {
         WrapMember<ZEVAobjectStruct*(ZEVAobjectStruct*)>("ProbeCallsQOR", "Fresh", [](auto* original, auto* self) {
             ZEVAobjectStruct* object = original(self);
             Real<service::ZEVALockObject>(object);
             return object;
         });
     }},

    {"exceptions.method", [] { SwallowIn<Initializer>("Raise("); }},
    {"exceptions.getter", [] { SwallowIn<std::int32_t(ZEVAobjectStruct*)>("Raising"); }},
    {"exceptions.setter",
     [] {
         WrapSetter<void(ZEVAobjectStruct*, std::int32_t)>("ProbeCallsQOR", "Raising",
                                                           [](auto* original, auto* self, auto isNested) {
                                                               if (isNested != 0) return original(self, isNested);
                                                               Swallow([&] { original(self, isNested); });
                                                           });
     }},
    {"exceptions.shared", [] { SwallowIn<void()>("RaiseShared"); }},
    {"exceptions.constructor", [] { SwallowIn<void(ZEVAobjectStruct*, std::int32_t)>("Constructor("); }},
    {"exceptions.initializer",
     [] { WrapInitializer("ProbeRaisingQOR", [](auto* original, auto* self) { Swallow([&] { original(self); }); }); }},
    {"exceptions.nested",
     [] {
         Replace<service::ZEVASetPropValueInt>([](ZEVAobjectStruct* object, const char* property, std::int32_t value) {
             Swallow([&] { Real<service::ZEVASetPropValueInt>(object, property, value); });
         });
     }},
    {"exceptions.once",
     [] {
         Replace<service::RuntimeRaiseException>([](ZEVAobjectStruct* exception) {
             if (first == nullptr) Real<service::ZEVALockObject>(first = exception);
             Real<service::RuntimeRaiseException>(exception);
         });
         WrapMember<std::int32_t(ZEVAobjectStruct*)>("ProbeCallsQOR", "Quiet", [](auto* original, auto* self) {
             Real<service::RuntimeRaiseException>(first);
             return original(self);
         });
     }},
    {"exceptions.class",
     [] {
         Replace<service::RuntimeRaiseException>([](ZEVAobjectStruct* exception) {
             Real<service::ZEVALockObject>(exception);
             RaiseCopy(exception, "RuntimeException");
         });
     }},
    {"exceptions.message",
     [] {
         Replace<service::ZEVASetPropValueString>(
             [](ZEVAobjectStruct* object, const char* property, ZEVAstringStruct* value) {
                 if (std::strcmp(property, "Message") == 0) messages[value] = object;
                 Real<service::ZEVASetPropValueString>(object, property, value);
             });
         Replace<service::ZEVAUnlockString>([](ZEVAstringStruct* string) {
             const auto message = messages.find(string);
             if (message != messages.end()) {
                 Real<service::ZEVASetPropValueString, ZEVAobjectStruct*, const char*, ZEVAstringStruct*>(
                     message->second, "Message", nullptr);
                 messages.erase(message);
             }
             Real<service::ZEVAUnlockString>(string);
         });
     }},
    {"exceptions.number",
     [] {
         Replace<service::ZEVASetPropValueInt>([](ZEVAobjectStruct* object, const char* property, std::int32_t value) {
             const bool isNumber = std::strcmp(property, "ErrorNumber") == 0;
             Real<service::ZEVASetPropValueInt>(object, property, isNumber ? -1 : value);
         });
     }},
    {"exceptions.kept",
     [] {
         Replace<service::RuntimeRaiseException>(
             [](ZEVAobjectStruct* exception) { RaiseCopy(exception, "ProbeExceptionQOR"); });
     }},
    {"exceptions.finalizer",
     [] {
         WrapFinalizer("ProbeEndQOR", [](auto* original, auto* self) {
             original(self);
             hasRaised = true;
         });
         WrapFinalizer("ProbeBaseQOR", [](auto* original, auto* self) {
             if (!std::exchange(hasRaised, false)) original(self);
         });
     }},
};

}  // namespace

const std::span<const Fault> kProgramFaults = faults;

}  // namespace faulty
