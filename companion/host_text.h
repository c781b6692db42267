// host_text.h - converts between NSString and the host's strings, and raises host exceptions.
//
// Strings for the host are UTF-8.
//
// Failure: a host without the service that is needed gives nil or null, and nothing is raised.
// Threads: the host's thread.

#pragma once

#import <Foundation/Foundation.h>

#include "interface/handles.h"

// Returns the text of a borrowed host string, autoreleased; nil for null and when the host does not return the bytes.
// Bytes that are not valid UTF-8 are read as Latin-1, so that every path can be represented.
[[nodiscard]] NSString* TextOf(ZEVAstringStruct* string);

// Returns a new host string; the caller owns one reference. Null for nil and when the host cannot create a string.
[[nodiscard]] ZEVAstringStruct* NewHostString(NSString* text);

// Returns a new exception object of a class with a message; the caller owns one reference. Null when the host cannot
// create it.
[[nodiscard]] ZEVAobjectStruct* NewHostException(const char* className, NSString* message);

// Raises a new exception of a class in the host. The exception is pending until the caller returns to the host, so
// return at once.
void RaiseNew(const char* className, NSString* message);

// Raises a RuntimeException.
void RaiseWithMessage(NSString* message);

// Raises a RuntimeException with the message "<place>: <reason>; <consequence>".
void RaiseAbout(NSString* place, NSString* reason, NSString* consequence);
