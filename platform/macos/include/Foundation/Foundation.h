// Foundation.h - the few Foundation declarations that the module's sources need to compile for macOS on any system.
//
// Declare only what the module uses: an extra declaration would let it depend on more of Foundation unnoticed. On a Mac
// the compiler finds the framework's own header instead.

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

// The attribute refers to the exception type that Foundation exports for the 64-bit runtime, so that @catch finds it.
// The 32-bit runtime has no exception types.
__attribute__((objc_exception))
@interface NSException : NSObject
- (NSString*)name;
- (NSString*)reason;
- (NSDictionary*)userInfo;
@end

extern "C" void NSLog(NSString* format, ...) __attribute__((format(__NSString__, 1, 2)));
