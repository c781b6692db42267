// trace.h - every call across the boundary, both ways, as a file of trace events in JSON.
//
// The file is one list of events, as trace viewers open it (chrome://tracing, Perfetto): "B" when a call begins, "E" when it has
// returned. cat says the way: "to module" for entry points, members, initialize and finalize; "to host" for services. args
// holds the arguments in order, and for a member its object; then "result", or "raised" with the class of the exception.
//
// A line is written when its call begins or ends, so that the file tells of a process that crashed what it did last; only
// the list's closing bracket is missing then.
//
// Lifetime: the Host's. Threads: the host's thread.

#pragma once

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string_view>

#include "host/runtime/call.h"
#include "host/runtime/json.h"

namespace host {

// Which way a call goes, as the events say it.
inline constexpr const char* kToModule = "to module";
inline constexpr const char* kToHost = "to host";

class Trace {
  public:
    using Json = host::Json;

    // Begins the file anew; throws HostError when it cannot be written.
    explicit Trace(const std::filesystem::path& file);

    // Ends the list.
    ~Trace();
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    // A call begins; calls begun in it end before it does.
    void Begin(std::string_view name, const char* way, const Json& arguments);

    // The call that began last and has not ended returns: {"result": ...}, {"raised": ...} or nothing.
    void End(const Json& outcome);

  private:
    void Write(const char* phase, std::string_view name, const char* way, const Json& arguments);

    std::FILE* file_;
    bool isFirst_ = true;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Values as the events show them: an object as its class and a number of its own, a long string cut.
Trace::Json TraceJson(const Value& value);
Trace::Json TraceJson(const Type& type, const Argument& argument);
Trace::Json TraceJson(const ZEVAobjectStruct* object);
Trace::Json TraceJson(const ZEVAstringStruct* string);

}  // namespace host
