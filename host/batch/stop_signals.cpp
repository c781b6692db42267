// stop_signals.cpp - the signals are blocked and read from a descriptor.

#include "host/batch/stop_signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

StopSignals::StopSignals() {
    sigset_t stops;
    sigemptyset(&stops);
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) sigaddset(&stops, number);
    }
    descriptor_ = signalfd(-1, &stops, SFD_NONBLOCK | SFD_CLOEXEC);
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
    pthread_sigmask(SIG_BLOCK, &stops, &before_);
}

StopSignals::~StopSignals() {
    while (Take() != 0) {
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    close(descriptor_);
}

int StopSignals::Take() {
    signalfd_siginfo signal = {};
    return read(descriptor_, &signal, sizeof signal) == sizeof signal ? static_cast<int>(signal.ssi_signo) : 0;
}
