// Foundation.h - the few Foundation declarations that the module's sources use, for compiling them for macOS anywhere.
//
// Only what is sent or called stands here: a name more is one that the module may come to depend on unseen. On a Mac the
// framework's own header is found instead.

#pragma once

#include <CoreFoundation/CoreFoundation.h>

#ifdef __LP64__
typedef long NSInteger;
typedef unsigned long NSUInteger;
#else
typedef int NSInteger;
typedef unsigned int NSUInteger;
#endif

#ifdef __arm64__
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif

#define nil nullptr

@class NSString;

@interface NSObject {
    Class isa;
}
+ (id)alloc;
+ (Class)class;
- (id)init;
- (id)retain;
- (void)release;
- (BOOL)isKindOfClass:(Class)wanted;
- (id)valueForKey:(NSString*)key;
- (void)setValue:(id)value forKey:(NSString*)key;
@end

@interface NSString : NSObject
@end

@interface NSNumber : NSObject
+ (NSNumber*)numberWithFloat:(float)value;
- (double)doubleValue;
@end

@interface NSData : NSObject
- (id)initWithBytes:(const void*)bytes length:(NSUInteger)length;
- (const void*)bytes;
- (NSUInteger)length;
@end

@interface NSDictionary : NSObject
- (id)objectForKey:(id)key;
@end

// Its own type in the tables of the 64-bit runtime, to be caught by; the 32-bit one has no such tables.
__attribute__((objc_exception))
@interface NSException : NSObject
- (NSString*)name;
- (NSString*)reason;
- (NSDictionary*)userInfo;
@end

extern "C" void NSLog(NSString* format, ...) __attribute__((format(__NSString__, 1, 2)));
