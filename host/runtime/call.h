// call.h - calling a module's function when its signature is known only from a declaration.
//
// Every call into a member goes through here. How the types travel: a double as a double, an integer and a boolean as
// 32-bit integers, strings and objects as pointers to their handles.
//
// Owns:    arguments are borrowed by the function; a string or an object that it returns comes with one reference.
// Threads: the host's thread.

#pragma once

#include <ffi.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "host/runtime/declaration.h"
#include "host/runtime/value.h"
#include "interface/entry_point.h"

namespace host {

// An argument as it is passed.
union Argument {
    double number;
    std::int32_t integer;
    void* pointer;
};

// A value as an argument of the type; none when it does not fit. An integer fits a double, and a whole double an
// integer. Nil fits strings and objects. An object must be of the type's class or of one below it. The argument borrows from the value.
std::optional<Argument> ArgumentFor(const Type& type, const Value& value);

// A signature made ready for calling.
class CallInterface {
  public:
    // The signature of a function with these parameters; the object comes before them when there is one.
    CallInterface(bool hasReceiver, const std::vector<Parameter>& parameters, const Type& result);

    // Calls the function. arguments holds one for each parameter; the receiver is not used when the signature has none.
    Value Call(ZEVAentry function, ZEVAobjectStruct* receiver, Argument* arguments) const;

  private:
    bool hasReceiver_;
    TypeKind result_;
    std::vector<ffi_type*> types_;
    ffi_cif interface_;
};

}  // namespace host
