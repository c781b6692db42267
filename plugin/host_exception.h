// host_exception.h - raising an exception in the host.

#pragma once

// Raises a host exception of the named host class with a message, and returns; the caller must then return to the host.
//
// An unknown class is replaced by "RuntimeException"; where not even that can be made, nothing is raised. A null or
// empty message raises with no message. Nothing is kept of the arguments. Thread: the host's.
void RaiseException(const char* exceptionClass, const char* message, unsigned long errorNumber);
