// exception_report.h - what becomes of an NSException that a guard has caught.

#pragma once

@class NSException;

// Writes the exception to the system log and raises it in the host. Where it cannot be made into a host exception the
// log line is all.
//
// Runs outside any guard: what it raises itself goes to whoever encloses the guard. Takes no reference.
// Thread: the host's.
void ReportException(NSException* exception);
