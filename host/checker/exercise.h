// exercise.h - uses the classes of a module without knowing them: makes values by type and visits all members.
//
// No class is known by name except MemoryBlock. Objects come from a shared method that takes only numbers, else from a
// property that returns one, else from a constructor.
//
// Methods are called with nil and 0 only, because other arguments could do anything to the machine.
//
// Threads: the host's thread.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/checker/stage.h"

namespace checker {

// Numbers that single precision represents exactly, so modules that store floats return them unchanged.
inline constexpr double kNumbers[] = {0.25, 1, 2, 10, 100};

// Returns a value of the type. Different `which` give different numbers and texts. Nil when no object of the class can
// be made.
[[nodiscard]] host::Value MakeValue(Stage& stage, const host::Type& type, int which = 0);

// Returns a MemoryBlock whose bytes count up from `first`; nil when there is no memory.
[[nodiscard]] host::Value MakeBlock(std::int32_t size, unsigned char first = 0);

// Returns the bytes of a MemoryBlock; empty for any other value.
[[nodiscard]] std::string BytesOf(const host::Value& block);

// Whether two values are the same number, text or bytes, both nil, or objects of one class. NaN equals NaN.
[[nodiscard]] bool Same(const host::Value& one, const host::Value& other);

// Returns a value in words; a MemoryBlock with its size.
[[nodiscard]] std::string ValueText(const host::Value& value);

// Makes an object of each class; reads, writes and reads again each of its properties; drops the object.
void UseEveryClass(Stage& stage);

// Does what should raise exceptions: calls constructors twice, and every method with nil and 0.
void ProvokeExceptions(Stage& stage);

// Returns arguments for a declaration: 0 or false for numbers and booleans, nil for everything else.
[[nodiscard]] std::vector<host::Value> NilsFor(const host::Declaration& declaration);

// Calls all methods of an object, or all shared methods of a class, with the arguments of NilsFor.
void CallMethodsWithNil(Stage& stage, const host::ObjectReference& object);
void CallSharedMethodsWithNil(Stage& stage, const host::Class& isa);

}  // namespace checker
