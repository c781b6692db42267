// call.cpp - calls through libffi.

#include "host/runtime/call.h"

#include <array>

namespace host {

namespace {

// The libffi type for a kind of value.
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

// Where libffi stores a result. It widens integer results to a whole register, hence ffi_arg.
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

}  // namespace

CallInterface::CallInterface(bool hasReceiver, const std::vector<Parameter>& parameters, const Type& result)
    : hasReceiver_(hasReceiver), result_(result.kind) {
    if (hasReceiver) types_.push_back(&ffi_type_pointer);
    for (const Parameter& parameter : parameters) types_.push_back(PassedAs(parameter.type.kind));
    // This cannot fail: the types are known and their number is bounded. libffi keeps the pointer to the types, which
    // stay in place when this object is moved.
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
