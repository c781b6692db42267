// argument.cpp - one case for each kind of type.

#include "host/runtime/argument.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <variant>

#include "host/runtime/class.h"
#include "host/runtime/object.h"

namespace host {

namespace {

// A double as an integer; empty when it has a fraction or is out of range.
std::optional<Argument> WholeNumber(double number) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (!(number >= Limits::min() && number <= Limits::max()) || number != std::trunc(number)) return std::nullopt;
    return Argument{.integer = static_cast<std::int32_t>(number)};
}

}  // namespace

std::optional<Argument> ArgumentFor(const Type& type, const Value& value) {
    switch (type.kind) {
        case TypeKind::kNone:
            break;
        case TypeKind::kDouble:
            if (const auto* number = std::get_if<double>(&value)) return Argument{.number = *number};
            if (const auto* integer = std::get_if<std::int32_t>(&value)) return Argument{.number = double(*integer)};
            break;
        case TypeKind::kInteger:
            if (const auto* integer = std::get_if<std::int32_t>(&value)) return Argument{.integer = *integer};
            if (const auto* number = std::get_if<double>(&value)) return WholeNumber(*number);
            break;
        case TypeKind::kBoolean:
            if (const auto* truth = std::get_if<bool>(&value)) return Argument{.integer = *truth ? 1 : 0};
            break;
        case TypeKind::kString:
            if (std::holds_alternative<std::monostate>(value)) return Argument{.pointer = nullptr};
            if (const auto* string = std::get_if<StringReference>(&value)) return Argument{.pointer = string->Get()};
            break;
        case TypeKind::kObject:
            if (std::holds_alternative<std::monostate>(value)) return Argument{.pointer = nullptr};
            if (const auto* object = std::get_if<ObjectReference>(&value)) {
                if ((*object)->isa->IsA(type.className)) return Argument{.pointer = object->Get()};
            }
            break;
    }
    return std::nullopt;
}

}  // namespace host
