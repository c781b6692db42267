// exercise.h - using a module's classes without knowing them: values made by type, and tours through all members.
//
// Nothing here knows a class by name. Values come from the records: a number is a number, and an object comes from a
// shared method that makes one from numbers, else from a property that answers one, else from a constructor.
//
// Methods are called with nil and 0 only: what else they would do to the machine nobody knows.

#pragma once

#include "host/checker/stage.h"

namespace checker {

// Numbers that are the same in single precision, so that they come back as they went.
inline constexpr double kNumbers[] = {0.25, 1, 2, 10, 100};

// A value of a type to write; which tells numbers apart. Nil for a class of which no object can be had.
host::Value MakeValue(Stage& stage, const host::Type& type, int which = 0);

// The same bytes every time: a block of a size whose bytes count up from first.
host::Value MakeBlock(std::int32_t size, unsigned char first = 0);
std::string BytesOf(const host::Value& block);

// Whether two values are the same number, text or bytes, both nil, or objects of one class.
bool Same(const host::Value& one, const host::Value& other);

// A value in words, bytes included.
std::string Words(const host::Value& value);

// Makes an object of each class, reads its properties, writes each one and reads it again, and drops it.
void Use(Stage& stage);

// Makes what should raise: constructs twice, and calls every method with nil and 0.
void Provoke(Stage& stage);

// Its parts: nil where nil fits, else 0; and the calls with these of all methods of an object's class, and of all that
// need no object.
std::vector<host::Value> NilsFor(const host::Declaration& declaration);
void CallMethodsWithNil(Stage& stage, const host::ObjectReference& object);
void CallSharedMethodsWithNil(Stage& stage, const host::Class& isa);

}  // namespace checker
