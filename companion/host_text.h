// host_text.h - converts between NSString and the host's strings, and raises host exceptions.
//
// Strings for the host are UTF-8. A path stays what it is, bytes: it need not be text, so it never becomes an NSString
// except in a message.
//
// Failure: a host without the service that is needed gives nil or null, and nothing is raised.
// Threads: the host's thread.

#pragma once

#import <Foundation/Foundation.h>

#include "interface/handles.h"

// Returns the text of a borrowed host string, autoreleased; nil for null and when the host does not return the bytes.
// A byte that is not part of valid UTF-8 becomes four characters, such as \xe9.
[[nodiscard]] NSString* TextOf(ZEVAstringStruct* string);

// Stores the bytes of a path, which end with a zero byte and are autoreleased. Returns why the string is not a path, or
// nil: it is null or empty, or contains a zero byte, after which the system would not read on.
[[nodiscard]] NSString* PathOf(ZEVAstringStruct* string, const char** path);

// Returns the path as text for a message, autoreleased, in the way of TextOf.
[[nodiscard]] NSString* TextOfPath(const char* path);

// Returns a new host string; the caller owns one reference. Null for nil and when the host cannot create a string.
[[nodiscard]] ZEVAstringStruct* NewHostString(NSString* text);

// Returns a new exception object of a class with a message; the caller owns one reference. Null when the host cannot
// create it.
[[nodiscard]] ZEVAobjectStruct* NewHostException(const char* className, NSString* message);

// Raises a new exception of a class in the host. The exception is pending until the caller returns to the host, so
// return at once.
void RaiseNew(const char* className, NSString* message, int errorNumber = 0);

// Raises a RuntimeException.
void RaiseWithMessage(NSString* message);

// Raises a RuntimeException with the message "<place>: <reason>; <consequence>". The error number is the system's; 0 if
// the system is not the cause.
void RaiseAbout(NSString* place, NSString* reason, NSString* consequence, int errorNumber = 0);

// The same for members that return an object: returns null.
std::nullptr_t Refused(NSString* place, NSString* reason, NSString* consequence);
