// exception_report.mm - logs, converts and raises, in this order.

#include "bridge/exception_report.h"

#import <Foundation/Foundation.h>

#include "interface/handles.h"
#include "plugin/host_services.h"

// The sibling module adds this to NSException.
@interface NSException (HostException)
// Returns a new host exception object with the exception's text and one reference for the caller; null on failure.
+ (ZEVAobjectStruct*)NewNSExceptionQOR:(NSException*)exception;
@end

void ReportException(NSException* exception) {
    NSString* name = [exception name];
    NSString* reason = [exception reason];
    NSDictionary* userInfo = [exception userInfo];
    NSLog(@"A %@: %@, Info: %@\n", name, reason, userInfo);
    ZEVAobjectStruct* hostException = [NSException NewNSExceptionQOR:exception];
    if (hostException == nullptr) return;
    ZEVARaiseException(hostException);
    ZEVAUnlockObject(hostException);
}
