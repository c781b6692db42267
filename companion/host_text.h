// host_text.h - text and exceptions between Foundation and the host.
//
// Text goes to the host as UTF-8. Threads: the host's thread.

#pragma once

#import <Foundation/Foundation.h>

#include "interface/handles.h"

// The text of a host string, which is borrowed; autoreleased. nil for null and when the host does not lend the bytes.
// Bytes that are no UTF-8 are taken for Latin 1, so that a path always names something.
NSString* TextOf(ZEVAstringStruct* string);

// A host string of the text, with one reference for the caller; null for nil and when the host has none to give.
ZEVAstringStruct* NewHostString(NSString* text);

// A host exception object of a class with the message, with one reference for the caller; null when the host cannot
// make one.
ZEVAobjectStruct* NewHostException(const char* className, NSString* message);

// Raises a RuntimeException with the message in the host; the caller then returns to the host.
void RaiseWithMessage(NSString* message);

// The same with "<what>: <reason>, <consequence>".
void RaiseAbout(NSString* what, NSString* reason, NSString* consequence);
