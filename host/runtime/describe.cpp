// describe.cpp - one case for each kind of value.

#include "host/runtime/describe.h"

#include <cstdint>
#include <variant>

#include "host/runtime/class.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"
#include "host/runtime/text.h"

namespace host {

namespace {

// The number of bytes of a string that a message shows.
constexpr std::size_t kShownBytes = 60;

struct Describer {
    std::string operator()(std::monostate) const { return "nil"; }
    std::string operator()(double number) const { return "double " + NumberText(number); }
    std::string operator()(std::int32_t number) const { return "integer " + std::to_string(number); }
    std::string operator()(bool truth) const { return truth ? "boolean true" : "boolean false"; }
    std::string operator()(const StringReference& string) const {
        const std::string_view shown = Beginning(string->bytes, kShownBytes);
        return "string \"" + std::string(shown) + (shown.size() < string->bytes.size() ? "...\"" : "\"");
    }
    std::string operator()(const ObjectReference& object) const { return object->isa->Name(); }
};

}  // namespace

std::string Describe(const Value& value) { return std::visit(Describer{}, value); }

}  // namespace host
