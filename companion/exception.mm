// exception.mm - NSExceptionQOR, a platform exception in the host, and the category by which the family makes one.
//
// It is a RuntimeException with nothing of its own: the platform exception's name, reason and user info stand in its
// Message.

#import <Foundation/Foundation.h>

#include "companion/class_record.h"
#include "companion/host_text.h"

@interface NSException (HostException)
// A host exception with the text of a platform exception, and one reference for the caller; null when the host has no
// such class.
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
