// host_exception.h - raises an exception in the host.

#pragma once

// Has the host raise an exception of the named host class with a message, and returns. The caller must then return to
// the host.
//
// Where the host does not know the class, a "RuntimeException" is raised; where it cannot create that either,
// nothing is raised. For a null or empty message the exception's message is null.
// Owns: keeps none of the arguments. Thread: the host's.
void RaiseException(const char* exceptionClass, const char* message, unsigned long errorNumber);
