// call.h - calls a module's function whose signature is known only from a declaration.
//
// Every call of a member goes through here. Doubles are passed as doubles, integers and booleans as 32-bit integers,
// strings and objects as pointers to their handles.
//
// Owns:    the function borrows its arguments; a string or object that it returns comes with one reference.
// Threads: the host's thread.

#pragma once

#include <ffi.h>

#include <cstdint>
#include <vector>

#include "host/runtime/declaration.h"
#include "host/runtime/value.h"
#include "interface/entry_point.h"

namespace host {

// An argument in the form in which it is passed.
union Argument {
    double number;
    std::int32_t integer;
    void* pointer;
};

// A signature prepared for calls.
class CallInterface {
  public:
    // The signature of a function with these parameters. With a receiver, the object is passed before them.
    CallInterface(bool hasReceiver, const std::vector<Parameter>& parameters, const Type& result);

    // Calls the function with one argument for each parameter. The receiver is ignored if the signature has none.
    Value Call(ZEVAentry function, ZEVAobjectStruct* receiver, Argument* arguments) const;

  private:
    bool hasReceiver_;
    TypeKind result_;
    std::vector<ffi_type*> types_;
    ffi_cif interface_;
};

}  // namespace host
