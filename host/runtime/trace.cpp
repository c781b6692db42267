// trace.cpp - writes events, one on each line.

#include "host/runtime/trace.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <variant>

#include "host/runtime/class.h"
#include "host/runtime/errors.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"

namespace host {

namespace {

// The number of bytes of a string that an event shows.
constexpr std::size_t kShownBytes = 200;

}  // namespace

Trace::Trace(const std::filesystem::path& file) : file_(std::fopen(file.c_str(), "w")) {
    if (file_ == nullptr) {
        throw HostError("trace " + file.string(), std::string(std::strerror(errno)) + "; nothing is run");
    }
    std::fputs("[", file_);
}

Trace::~Trace() {
    std::fputs("\n]\n", file_);
    std::fclose(file_);
}

void Trace::Begin(std::string_view name, const char* direction, const Json& arguments) {
    Write("B", name, direction, arguments);
}

void Trace::End(const Json& outcome) { Write("E", {}, nullptr, outcome); }

void Trace::Write(const char* phase, std::string_view name, const char* direction, const Json& arguments) {
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start_;
    Json event = {{"ph", phase}, {"ts", time.count()}, {"pid", getpid()}, {"tid", 1}};
    if (direction != nullptr) event.Merge({{"name", name}, {"cat", direction}});
    if (!arguments.empty()) event["args"] = arguments;
    const std::string line = event.Dump();
    std::fprintf(file_, "%s\n%s", isFirst_ ? "" : ",", line.c_str());
    std::fflush(file_);
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
    if (string->bytes.size() <= kShownBytes) return string->bytes;
    return string->bytes.substr(0, kShownBytes) + "...";
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
