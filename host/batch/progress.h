// progress.h - how far a batch is: a bar on a terminal, a line per failure, a summary at the end.
//
// Bar and failures go to standard error, the summary to standard output. Without a terminal there is no bar.

#pragma once

#include <chrono>
#include <cstddef>
#include <string>

class Progress {
  public:
    explicit Progress(std::size_t total);

    // Notes that one more has ended; prints why it failed, if it did.
    void Done(const std::string& failure);

    // Takes the bar away and prints "11 of 12 pictures <what>, 1 failed, 0.8 s".
    void Summarize(const std::string& what);

    std::size_t Failures() const { return failures_; }

  private:
    void Draw() const;
    void Erase() const;

    std::size_t total_;
    std::size_t ended_ = 0;
    std::size_t failures_ = 0;
    bool onTerminal_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};
