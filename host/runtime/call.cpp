// call.cpp - calls through libffi.

#include "host/runtime/call.h"

#include <array>
#include <cmath>
#include <limits>

#include "host/runtime/class.h"
#include "host/runtime/object.h"

namespace host {

namespace {

ffi_type* PassedAs(TypeKind kind) {
    switch (kind) {
        case TypeKind::kNone:
            return &ffi_type_void;
        case TypeKind::kDouble:
            return &ffi_type_double;
        case TypeKind::kInteger:
        case TypeKind::kBoolean:
            return &ffi_type_sint32;
        case TypeKind::kString:
        case TypeKind::kObject:
            break;
    }
    return &ffi_type_pointer;
}

// Where a function's result arrives. Why ffi_arg: libffi widens an integer result to a whole register.
union Result {
    double number;
    ffi_arg integer;
    void* pointer;
};

template <typename Handle>
Value Adopted(void* pointer) {
    if (pointer == nullptr) return {};
    return Reference<Handle>::Adopt(static_cast<Handle*>(pointer));
}

Value ValueFor(TypeKind kind, const Result& result) {
    switch (kind) {
        case TypeKind::kNone:
            break;
        case TypeKind::kDouble:
            return result.number;
        case TypeKind::kInteger:
            return static_cast<std::int32_t>(result.integer);
        case TypeKind::kBoolean:
            return static_cast<std::int32_t>(result.integer) != 0;
        case TypeKind::kString:
            return Adopted<ZEVAstringStruct>(result.pointer);
        case TypeKind::kObject:
            return Adopted<ZEVAobjectStruct>(result.pointer);
    }
    return {};
}

// A double as an integer; none when it has a fraction or is too large.
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

CallInterface::CallInterface(bool hasReceiver, const std::vector<Parameter>& parameters, const Type& result)
    : hasReceiver_(hasReceiver), result_(result.kind) {
    if (hasReceiver) types_.push_back(&ffi_type_pointer);
    for (const Parameter& parameter : parameters) types_.push_back(PassedAs(parameter.type.kind));
    // The types are our own few and the count is bounded: libffi has nothing to refuse. It keeps the pointer to the
    // types, which stay where they are when this object moves.
    ffi_prep_cif(&interface_, FFI_DEFAULT_ABI, static_cast<unsigned>(types_.size()), PassedAs(result_), types_.data());
}

Value CallInterface::Call(ZEVAentry function, ZEVAobjectStruct* receiver, Argument* arguments) const {
    std::array<void*, kMaximumParameters + 1> pointers;
    std::size_t count = 0;
    if (hasReceiver_) pointers[count++] = &receiver;
    for (Argument* argument = arguments; count < types_.size(); ++argument) pointers[count++] = argument;
    Result result = {};
    ffi_call(const_cast<ffi_cif*>(&interface_), FFI_FN(function), &result, pointers.data());
    return ValueFor(result_, result);
}

}  // namespace host
