// CoreFoundation.h - the few Core Foundation types and functions that the image frameworks speak in.
//
// A Core Foundation object is an Objective-C object here: the functions send the messages, and a reference may be cast to the
// Foundation class that its type names, and back.
//
// Ownership: a function with Create or Copy in its name gives the caller one reference, to be given back with CFRelease.
// Threads:   retaining and releasing are safe on any thread.

#pragma once

#include <stddef.h>

#ifdef __cplusplus
#define CF_EXPORT extern "C"
#else
#define CF_EXPORT extern
#endif

// Any Core Foundation object.
typedef const void* CFTypeRef;

// Objects that are Foundation objects under another type.
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;          // NSString
typedef const struct __CFURL* CFURLRef;                // NSURL
typedef const struct __CFData* CFDataRef;              // NSData
typedef struct __CFData* CFMutableDataRef;             // NSMutableData
typedef const struct __CFArray* CFArrayRef;            // NSArray
typedef const struct __CFDictionary* CFDictionaryRef;  // NSDictionary

// Counts and positions, and whether something succeeded.
typedef signed long CFIndex;
typedef unsigned char Boolean;

// A constant string, as CFStringRef. Only where Objective-C is understood.
#ifdef __OBJC__
#define CFSTR(literal) ((CFStringRef) @"" literal)
#endif

// Takes one reference more and answers the object. Null is answered for null.
CF_EXPORT CFTypeRef CFRetain(CFTypeRef object);

// Gives one reference back. Nothing happens for null.
CF_EXPORT void CFRelease(CFTypeRef object);

// How many references there are; for tests and for looking at leaks. 0 for null.
CF_EXPORT CFIndex CFGetRetainCount(CFTypeRef object);
