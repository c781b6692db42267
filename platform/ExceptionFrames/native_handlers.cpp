// native_handlers.cpp - asks each function's personality whether it handles an object, as the unwinder's first phase
// does, and unwinds by force, as the end of a thread does.
//
// The unwinder itself offers no search that ends at a given frame. The personality of a function is in its unwind
// table: a function's entry (FDE) refers to a common part (CIE), which may name the personality.

#include "platform/ExceptionFrames/native_handlers.h"

#include <unwind.h>

#include <cstring>
#include <new>

// The bases of the pointers in an entry; of no use here, but the unwinder fills them.
struct dwarf_eh_bases {
    void* text;
    void* data;
    void* function;
};

// Returns the entry of the function that contains the code; null if it has none.
extern "C" const unsigned char* _Unwind_Find_FDE(void* code, dwarf_eh_bases* bases);

namespace {

// An exception around an object, as the runtime throws it. The personality of Objective-C reads the object, and keeps
// what it has found in the words behind it.
struct ObjectException {
    _Unwind_Exception header;
    id object;
    void* found[2];
};

constexpr _Unwind_Exception_Class kObjectException = 0x474E55434F424A43;  // "GNUCOBJC"

// The encodings of a pointer in an unwind table that occur at 32 bits.
constexpr unsigned kFormatMask = 0x0F;
constexpr unsigned kBaseMask = 0x70;
constexpr unsigned kRelativeToItself = 0x10;
constexpr unsigned kIndirect = 0x80;

// Returns the pointer at a place; null for an unknown encoding.
void* PointerAt(const unsigned char* place, unsigned encoding) {
    const unsigned format = encoding & kFormatMask;
    const unsigned base = encoding & kBaseMask;
    const bool hasFourBytes = format == 0x00 || format == 0x03 || format == 0x0B;
    if (!hasFourBytes || (base != 0 && base != kRelativeToItself)) return nullptr;
    std::uintptr_t pointer = 0;
    std::memcpy(&pointer, place, sizeof pointer);
    if (base == kRelativeToItself) pointer += reinterpret_cast<std::uintptr_t>(place);
    if ((encoding & kIndirect) != 0) return *reinterpret_cast<void**>(pointer);
    return reinterpret_cast<void*>(pointer);
}

// Returns the place behind a number of any length (LEB128).
const unsigned char* AfterNumber(const unsigned char* number) {
    while ((*number & 0x80) != 0) ++number;
    return number + 1;
}

// Returns the personality of the function that contains the code; null if it has none.
_Unwind_Personality_Fn PersonalityOf(void* code) {
    dwarf_eh_bases bases;
    const unsigned char* entry = _Unwind_Find_FDE(code, &bases);
    if (entry == nullptr) return nullptr;
    const unsigned char* distance = entry + 4;  // the word behind the length: how far before it the common part begins
    std::int32_t bytes = 0;
    std::memcpy(&bytes, distance, sizeof bytes);
    const unsigned char* letters = distance - bytes + 9;  // behind its length, a zero word and the version
    if (*letters != 'z') return nullptr;
    const unsigned char* at = letters + std::strlen(reinterpret_cast<const char*>(letters)) + 1;
    for (int i = 0; i < 4; ++i) at = AfterNumber(at);  // two factors, the return address, the length of what follows
    while (*++letters != 0) {
        if (*letters == 'P') return reinterpret_cast<_Unwind_Personality_Fn>(PointerAt(at + 1, *at));
        if (*letters == 'L' || *letters == 'R') ++at;
    }
    return nullptr;
}

// Whether the function of the context has a handler for the exception at its current instruction.
bool Handles(_Unwind_Context* context, ObjectException& exception) {
    if (_Unwind_GetLanguageSpecificData(context) == 0) return false;
    auto* code = reinterpret_cast<void*>(_Unwind_GetIP(context) - 1);  // within the call, not behind it
    const _Unwind_Personality_Fn personality = PersonalityOf(code);
    return personality != nullptr && personality(1, _UA_SEARCH_PHASE, exception.header.exception_class,
                                                 &exception.header, context) == _URC_HANDLER_FOUND;
}

struct Search {
    std::uintptr_t frame;
    ObjectException exception;
    std::uintptr_t last = 0;   // the stack pointer of the last function
    bool lastHandles = false;  // whether it has a handler
    NativeSearch result;
};

// Visits a function of the stack. Its stack pointer tells whether the frame lies in the function visited before it,
// whose own handlers do not count.
_Unwind_Reason_Code Visit(_Unwind_Context* context, void* argument) {
    auto& search = *static_cast<Search*>(argument);
    const std::uintptr_t stackPointer = _Unwind_GetCFA(context);
    if (stackPointer > search.frame) {
        search.result.holder = search.last;
        return _URC_NORMAL_STOP;
    }
    if (search.lastHandles) {
        search.result.isHandled = true;
        return _URC_NORMAL_STOP;
    }
    search.last = stackPointer;
    search.lastHandles = Handles(context, search.exception);
    return _URC_NO_REASON;
}

// A forced unwinding. Not on the stack, because cleanups use the stack below the function that they clean up.
struct Flight {
    ObjectException exception;
    std::uintptr_t holder;
    void (*arrive)(void* argument);
    void* argument;
};

// Lets the unwinder clean up until it comes to the holder.
_Unwind_Reason_Code StopAtHolder(int, _Unwind_Action actions, _Unwind_Exception_Class, _Unwind_Exception*,
                                 _Unwind_Context* context, void* argument) {
    auto* flight = static_cast<Flight*>(argument);
    const bool isInside = (actions & _UA_END_OF_STACK) == 0 && _Unwind_GetCFA(context) < flight->holder;
    if (isInside) return _URC_NO_REASON;
    const Flight arrived = *flight;
    delete flight;
    arrived.arrive(arrived.argument);
    return _URC_FATAL_PHASE2_ERROR;
}

}  // namespace

NativeSearch SearchNativeHandlers(id object, const void* frame) {
    Search search = {};
    search.frame = reinterpret_cast<std::uintptr_t>(frame);
    search.exception.header.exception_class = kObjectException;
    search.exception.object = object;
    _Unwind_Backtrace(Visit, &search);
    return search.result;
}

void RunNativeCleanups(std::uintptr_t holder, void (*arrive)(void* argument), void* argument) {
    auto* flight = new (std::nothrow) Flight{{}, holder, arrive, argument};
    if (flight == nullptr) return;
    flight->exception.header.exception_class = kObjectException;
    _Unwind_ForcedUnwind(&flight->exception.header, StopAtHolder, flight);
    delete flight;
}
