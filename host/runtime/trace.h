// trace.h - writes each call across the boundary, in both directions, to a file of trace events in JSON.
//
// The file is a list of events that trace viewers can open (chrome://tracing, Perfetto): "B" when a call begins, "E"
// when it returns. "cat" is the direction: "to module" for entry points, members, initializers and finalizers,
// "to host" for services. The "args" of a "B" event hold the arguments in order and, for a member, its object. The
// "args" of an "E" event hold the "result", or "raised" with the class of the exception.
//
// Each line is written as soon as its call begins or ends. After a crash the file shows what the process did last; only
// the closing bracket of the list is missing.
//
// Lifetime: owned by the Host. Threads: the host's thread.

#pragma once

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "host/runtime/call.h"
#include "host/runtime/class.h"
#include "host/runtime/declaration.h"
#include "host/runtime/json.h"
#include "host/runtime/value.h"

namespace host {

// The direction of a call, as written in the events.
inline constexpr const char* kToModule = "to module";
inline constexpr const char* kToHost = "to host";

class Trace {
  public:
    using Json = host::Json;

    // Overwrites the file; throws HostError when it cannot be opened. When it cannot be written later, `onFailure` is
    // called once with the reason, and nothing more is written.
    Trace(const std::filesystem::path& file, Report onFailure);

    // Writes the end of the list.
    ~Trace();
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    // Records that a call begins. Nested calls must end before it does.
    void Begin(std::string_view name, const char* direction, const Json& arguments);

    // Records that the innermost open call returns. The outcome is {"result": ...}, {"raised": ...} or empty.
    void End(const Json& outcome);

  private:
    void Write(const char* phase, std::string_view name, const char* direction, const Json& arguments);

    // Reports the system's last error, once.
    void Fail();

    std::string path_;
    Report onFailure_;
    std::FILE* file_;
    bool hasFailed_ = false;
    bool isFirst_ = true;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Values as the events show them. An object is shown as its class and address; a long string is truncated. A string
// that is not UTF-8, such as the name of a file can be, is shown as {"text": ..., "base64": ...}.
Trace::Json TraceJson(const Value& value);
Trace::Json TraceJson(const Type& type, const Argument& argument);
Trace::Json TraceJson(const ZEVAobjectStruct* object);
Trace::Json TraceJson(const ZEVAstringStruct* string);

// How a call ended, for Trace::End: the class of the exception that it raised, else its result, if it has one.
Trace::Json OutcomeJson(const ObjectReference& raised);
Trace::Json OutcomeJson(const ObjectReference& raised, const Value& result);

}  // namespace host
