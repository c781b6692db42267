// CoreFoundation.h - the few Core Foundation types and functions that the image frameworks use.
//
// A Core Foundation object is an Objective-C object here. The functions send it messages. A reference may be cast to
// the Foundation class named beside its type, and back.
//
// Ownership: a function with Create or Copy in its name returns an object that the caller owns and must release with
//            CFRelease.
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

// Foundation objects under another type.
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;          // NSString
typedef const struct __CFURL* CFURLRef;                // NSURL
typedef const struct __CFData* CFDataRef;              // NSData
typedef struct __CFData* CFMutableDataRef;             // NSMutableData
typedef const struct __CFArray* CFArrayRef;            // NSArray
typedef const struct __CFDictionary* CFDictionaryRef;  // NSDictionary

// Counts and indexes, and truth values.
typedef signed long CFIndex;
typedef unsigned char Boolean;

// A constant string as a CFStringRef, for Objective-C sources only.
#ifdef __OBJC__
#define CFSTR(literal) ((CFStringRef) @"" literal)
#endif

// Retains the object and returns it. Returns null for null.
CF_EXPORT CFTypeRef CFRetain(CFTypeRef object);

// Releases the object. Ignores null.
CF_EXPORT void CFRelease(CFTypeRef object);

// Returns the reference count, for tests and leak hunting; 0 for null.
CF_EXPORT CFIndex CFGetRetainCount(CFTypeRef object);
