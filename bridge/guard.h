// guard.h - keeps Objective-C exceptions out of the host.
//
// Every bridge routine sends messages to a filter, and any of them may raise. The host cannot handle an Objective-C
// exception, so each routine sends its messages inside this guard. An NSException is logged, converted to a host
// exception and raised in the host, and the guard returns normally. Any other exception passes through.
//
// There are two implementations: guard_frames.mm (32 bits: setjmp-based exception frames) and guard_native.mm (64 bits:
// the runtime's own try and catch).
//
// The work must not hold an object with a destructor across a message: on 32 bits an exception leaves by a longjmp, and
// the platform decides whether that runs destructors.
// Threads: the host's thread; exception frames are per thread.

#pragma once

// Runs work(context). Returns after the work has returned, or after its NSException has been reported. When any
// Objective-C object interrupts the work, interrupted(context) is called before anything else is done about it.
void RunGuarded(void (*work)(void* context), void (*interrupted)(void* context), void* context);

// Runs lambdas the same way. The work returns its result through a captured variable that it writes last, so the
// variable keeps its initial zero when an exception interrupts the work.
template <typename Work, typename Interrupted>
void Guarded(Work work, Interrupted interrupted) {
    struct Calls {
        Work& work;
        Interrupted& interrupted;
    } calls{work, interrupted};
    RunGuarded([](void* context) { static_cast<Calls*>(context)->work(); },
               [](void* context) { static_cast<Calls*>(context)->interrupted(); }, &calls);
}

template <typename Work>
void Guarded(Work work) {
    Guarded(work, [] {});
}
