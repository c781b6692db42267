// trace.cpp - writes events, one on each line.

#include "host/runtime/trace.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>

#include "host/runtime/class.h"
#include "host/runtime/errors.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"
#include "host/runtime/text.h"

namespace host {

namespace {

// The number of bytes of a string that an event shows.
constexpr std::size_t kTracedBytes = 200;

}  // namespace

Trace::Trace(const std::filesystem::path& file, Report onFailure)
    : path_(file.string()), onFailure_(std::move(onFailure)), file_(std::fopen(file.c_str(), "we")) {
    if (file_ == nullptr) throw HostError("trace " + path_, SystemReason(errno) + "; nothing is run", errno);
    std::fputs("[", file_);
}

Trace::~Trace() {
    if (!hasFailed_) std::fputs("\n]\n", file_);
    if (std::fclose(file_) != 0) Fail();
}

void Trace::Fail() {
    if (hasFailed_) return;
    hasFailed_ = true;
    onFailure_("trace " + path_ + ": " + SystemReason(errno) + "; the trace is incomplete");
}

void Trace::Begin(std::string_view name, const char* direction, const Json& arguments) {
    Write("B", name, direction, arguments);
}

void Trace::End(const Json& outcome) { Write("E", {}, nullptr, outcome); }

void Trace::Write(const char* phase, std::string_view name, const char* direction, const Json& arguments) {
    if (hasFailed_) return;
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start_;
    Json event = {{"ph", phase}, {"ts", time.count()}, {"pid", getpid()}, {"tid", 1}};
    if (direction != nullptr) event.Merge({{"name", name}, {"cat", direction}});
    if (!arguments.empty()) event["args"] = arguments;
    const std::string line = event.Dump();
    // A line that is longer than the buffer can fail before the flush.
    const bool isWritten = std::fprintf(file_, "%s\n%s", isFirst_ ? "" : ",", line.c_str()) >= 0;
    if (!isWritten || std::fflush(file_) != 0) Fail();
    isFirst_ = false;
}

Trace::Json TraceJson(const ZEVAobjectStruct* object) {
    if (object == nullptr) return nullptr;
    char number[2 * sizeof(void*) + 4];
    std::snprintf(number, sizeof number, " %p", static_cast<const void*>(object));
    return object->isa->Name() + number;
}

Trace::Json TraceJson(const ZEVAstringStruct* string) {
    if (string == nullptr) return nullptr;
    const std::string_view shown = Beginning(string->bytes, kTracedBytes);
    std::string text = std::string(shown) + (shown.size() < string->bytes.size() ? "..." : "");
    if (IsText(shown)) return text;
    return {{"text", std::move(text)}, {"base64", Base64(shown)}};
}

Trace::Json TraceJson(const Value& value) {
    if (const auto* number = std::get_if<double>(&value)) return *number;
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
    if (const auto* truth = std::get_if<bool>(&value)) return *truth;
    if (const auto* string = std::get_if<StringReference>(&value)) return TraceJson(string->Get());
    if (const auto* object = std::get_if<ObjectReference>(&value)) return TraceJson(object->Get());
    return nullptr;
}

Trace::Json TraceJson(const Type& type, const Argument& argument) {
    switch (type.kind) {
        case TypeKind::kNone:
            break;
        case TypeKind::kDouble:
            return argument.number;
        case TypeKind::kInteger:
            return argument.integer;
        case TypeKind::kBoolean:
            return argument.integer != 0;
        case TypeKind::kString:
            return TraceJson(static_cast<const ZEVAstringStruct*>(argument.pointer));
        case TypeKind::kObject:
            return TraceJson(static_cast<const ZEVAobjectStruct*>(argument.pointer));
    }
    return nullptr;
}

Trace::Json OutcomeJson(const ObjectReference& raised) {
    return raised ? Trace::Json{{"raised", raised->isa->Name()}} : Trace::Json();
}

Trace::Json OutcomeJson(const ObjectReference& raised, const Value& result) {
    return raised ? OutcomeJson(raised) : Trace::Json{{"result", TraceJson(result)}};
}

}  // namespace host
