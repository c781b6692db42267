// exception_report.h - reports an NSException that a guard has caught.

#pragma once

@class NSException;

// Writes the exception to the system log and raises it in the host. When it cannot be converted to a host exception, it
// is only logged.
//
// Owns:   takes no reference to the exception.
// Fails:  runs outside any guard, so an exception raised here passes to the code that encloses the guard.
// Thread: the host's.
void ReportException(NSException* exception);
