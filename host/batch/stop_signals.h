// stop_signals.h - SIGHUP, SIGINT and SIGTERM as something to wait for, instead of the end of the program.
//
// Lifetime: the signals are kept for Take until the destructor gives them their usual effect again. A signal that was
//           ignored before, as by nohup, stays ignored.
// Threads:  the program's main thread. Threads that began earlier must not exist.

#pragma once

#include <csignal>

class StopSignals {
  public:
    // Throws std::system_error.
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // The descriptor that can be read when a signal has come.
    [[nodiscard]] int Descriptor() const { return descriptor_; }

    // Returns the number of a signal that has come; 0 for none.
    [[nodiscard]] int Take();

  private:
    int descriptor_;
    sigset_t before_;
};
