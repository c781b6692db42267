// guard.h - keeps Objective-C exceptions out of the host.
//
// Every bridge routine talks to a filter through messages, and any of them may raise. The host cannot handle an
// Objective-C exception, so each routine runs its messages inside this guard: an NSException is logged, turned into a
// host exception and handed to the host, and the guard returns normally. Anything else that is thrown goes on to
// whoever encloses the routine.
//
// Two implementations, one per kind of runtime: guard_frames.mm (32 bits: setjmp-based exception frames) and
// guard_native.mm (64 bits: the runtime's own try and catch).
// Why work must hold no object with a destructor across a message: on 32 bits the exception leaves by a jump.
// Threads: the host's thread; exception frames are per thread.

#pragma once

// Runs work(context). Returns when it has returned, or when an NSException it let out has been reported.
void RunGuarded(void (*work)(void* context), void* context);

// The same for a lambda. It hands its result out through a captured variable, written as its last step, so that a
// caller sees the zero value it started with whenever an exception came between.
template <typename Work>
void Guarded(Work work) {
    RunGuarded([](void* context) { (*static_cast<Work*>(context))(); }, &work);
}
