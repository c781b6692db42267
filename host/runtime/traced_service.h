// traced_service.h - a service that tells a trace of each call.
//
// TracedService<"ZEVALockObject", LockObject>::Call is a function of LockObject's own type. Modules get it in place of the
// service itself while there is a trace; without one the service is as it was, and costs what it did.

#pragma once

#include <algorithm>

#include "host/runtime/host.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/trace.h"

namespace host {

// A name as a template argument.
template <std::size_t size>
struct ServiceName {
    constexpr ServiceName(const char (&name)[size]) { std::copy_n(name, size, text); }
    char text[size];
};

// What services take and give beyond the kinds of trace.h.
inline Trace::Json ServiceJson(double number) { return number; }
inline Trace::Json ServiceJson(std::int32_t number) { return number; }
inline Trace::Json ServiceJson(std::uint32_t number) { return number; }
inline Trace::Json ServiceJson(const char* text) { return text != nullptr ? Trace::Json(text) : nullptr; }
inline Trace::Json ServiceJson(const ZEVAobjectStruct* object) { return TraceJson(object); }
inline Trace::Json ServiceJson(const ZEVAstringStruct* string) { return TraceJson(string); }
inline Trace::Json ServiceJson(const ZEVAmemoryBlockStruct* block) {
    return TraceJson(reinterpret_cast<const ZEVAobjectStruct*>(block));
}
inline Trace::Json ServiceJson(const ZEVAclassDefinition* definition) {
    return definition != nullptr ? ServiceJson(definition->record.className) : nullptr;
}
// Bytes are not shown: nothing says where they end.
inline Trace::Json ServiceJson(const void* bytes) { return bytes != nullptr ? "bytes" : nullptr; }

template <ServiceName name, auto function>
struct TracedService;

template <ServiceName name, typename Result, typename... Arguments, Result (*function)(Arguments...)>
struct TracedService<name, function> {
    static Result Call(Arguments... arguments) {
        Trace& trace = *Host::Current().Tracing();
        trace.Begin(name.text, kToHost, {{"arguments", Trace::Json::array({ServiceJson(arguments)...})}});
        if constexpr (std::is_void_v<Result>) {
            function(arguments...);
            trace.End({});
        } else {
            const Result result = function(arguments...);
            trace.End({{"result", ServiceJson(result)}});
            return result;
        }
    }
};

}  // namespace host
