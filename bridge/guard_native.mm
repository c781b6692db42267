// guard_native.mm - the guard over the 64-bit runtime's own exceptions.

#import <Foundation/Foundation.h>

#include "bridge/exception_report.h"
#include "bridge/guard.h"

void RunGuarded(void (*work)(void* context), void (*interrupted)(void* context), void* context) {
    NSException* caught = nil;
    @try {
        work(context);
    } @catch (NSException* exception) {
        interrupted(context);
        caught = exception;
    } @catch (id) {
        interrupted(context);
        @throw;
    }
    // Outside the catch, so that an exception raised here passes to the code that encloses the guard.
    if (caught != nil) ReportException(caught);
}
