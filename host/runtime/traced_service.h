// traced_service.h - a service that records each of its calls in a trace.
//
// TracedService<service::ZEVALockObject, function>::Call has the service's own signature. Modules get it in place of
// the function itself while there is a trace. Without a trace they get the function, at no extra cost.

#pragma once

#include <cstdint>
#include <type_traits>

#include "host/runtime/host.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/trace.h"
#include "interface/class_definition.h"
#include "interface/handles.h"
#include "interface/services.h"
#include "interface/string_data.h"

namespace host {

// The arguments and results of services as the trace shows them.
inline Trace::Json ServiceJson(double number) { return number; }
inline Trace::Json ServiceJson(std::int32_t number) { return number; }
inline Trace::Json ServiceJson(std::uint32_t number) { return number; }
inline Trace::Json ServiceJson(const char* text) { return text != nullptr ? Trace::Json(text) : nullptr; }
inline Trace::Json ServiceJson(ZEVAobjectStruct* object) { return TraceJson(object); }
inline Trace::Json ServiceJson(ZEVAstringStruct* string) { return TraceJson(string); }
inline Trace::Json ServiceJson(ZEVAmemoryBlockStruct* block) {
    return TraceJson(reinterpret_cast<ZEVAobjectStruct*>(block));
}
inline Trace::Json ServiceJson(ZEVAclassDefinition* definition) {
    return definition != nullptr ? ServiceJson(definition->record.className) : nullptr;
}

// Bytes are not shown: their type does not say where they end.
inline Trace::Json BytesJson(const void* bytes) { return bytes != nullptr ? "bytes" : nullptr; }
inline Trace::Json ServiceJson(ZEVAstringData* data) { return BytesJson(data); }
inline Trace::Json ServiceJson(void* bytes) { return BytesJson(bytes); }

// A pointer of any other type needs an overload of its own.
template <typename Other>
Trace::Json ServiceJson(Other*) = delete;

// The arguments of ZEVABuildString, whose bytes have no terminating zero.
inline Trace::Json BuildStringJson(const char* bytes, std::int32_t length) {
    return Trace::Json::MakeArray({BytesJson(bytes), length});
}

template <typename Listed, typename Listed::Signature* function, typename Signature = typename Listed::Signature>
struct TracedService;

template <typename Listed, typename Listed::Signature* function, typename Result, typename... Arguments>
struct TracedService<Listed, function, Result(Arguments...)> {
    static Result Call(Arguments... arguments) {
        Trace& trace = *Host::Current().Tracing();
        trace.Begin(Listed::kName, kToHost, {{"arguments", ArgumentsJson(arguments...)}});
        if constexpr (std::is_void_v<Result>) {
            function(arguments...);
            trace.End({});
        } else {
            const Result result = function(arguments...);
            trace.End({{"result", ServiceJson(result)}});
            return result;
        }
    }

  private:
    static Trace::Json ArgumentsJson(Arguments... arguments) {
        if constexpr (std::is_same_v<Listed, service::ZEVABuildString>) {
            return BuildStringJson(arguments...);
        } else {
            return Trace::Json::MakeArray({ServiceJson(arguments)...});
        }
    }
};

}  // namespace host
