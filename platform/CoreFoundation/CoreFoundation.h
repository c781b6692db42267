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

// Counts and indexes, truth values, and bytes.
typedef signed long CFIndex;
typedef unsigned char Boolean;
typedef unsigned char UInt8;

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

// Returns a file URL for the bytes of a path, which need not be text. A relative path is below the current folder, and
// the URL is absolute. Null when there is no current folder. Ignores the allocator; the path decides whether it is a
// folder.
CF_EXPORT CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* buffer,
                                                           CFIndex length, Boolean isDirectory);

// Stores the bytes of the path of a file URL, with a zero byte at their end. Returns false for another URL, for a path
// that contains a zero byte, and for one that does not fit. Every file URL here is absolute, so there is no base to
// resolve against.
CF_EXPORT Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                                   CFIndex size);
