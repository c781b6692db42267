// exception.mm - NSExceptionQOR, a platform exception in the host, and the category that creates one.
//
// It is a RuntimeException without members of its own. Its Message holds the name, reason and user info of the platform
// exception.

#import <Foundation/Foundation.h>

#include "companion/class_record.h"
#include "companion/host_text.h"

@interface NSException (HostException)
// Returns a host exception with the text of a platform exception; the caller owns one reference. Null when the host
// does not have the class.
+ (ZEVAobjectStruct*)NewNSExceptionQOR:(NSException*)exception;
@end

@implementation NSException (HostException)

+ (ZEVAobjectStruct*)NewNSExceptionQOR:(NSException*)exception {
    NSString* message = [NSString stringWithFormat:@"%@: %@", [exception name], [exception reason]];
    if ([[exception userInfo] count] > 0) message = [message stringByAppendingFormat:@" %@", [exception userInfo]];
    return NewHostException("NSExceptionQOR", message);
}

@end

ZEVAclassDefinition NSExceptionClass = {
    .record = {.version = kRecordVersion,
               .className = "NSExceptionQOR",
               .superclassName = "RuntimeException",
               .flags = kHostFlags},
};
