// progress.h - the progress of a batch: a bar on a terminal, a line per failure, a summary at the end.
//
// The bar and the failures go to standard error, the summary to standard output. Without a terminal there is a line a
// minute instead of the bar. Both say how many are done a second, on average, and how long the rest takes at that rate.

#pragma once

#include <chrono>
#include <cstddef>
#include <string>

class Progress {
  public:
    // A quiet one prints failures only.
    Progress(std::size_t total, bool isQuiet);

    // Counts one more job. Prints the failure unless it is empty.
    void Done(const std::string& failure);

    // Prints the line of a minute when one has passed. Call it about once a second.
    void Tick();

    // Removes the bar and prints "11 of 12 pictures <what>, 1 failed, 0.8 s".
    void Summarize(const std::string& what);

    [[nodiscard]] std::size_t Failures() const { return failures_; }

  private:
    void Draw() const;
    void Erase() const;

    std::size_t total_;
    std::size_t ended_ = 0;
    std::size_t failures_ = 0;
    bool isQuiet_;
    bool hasBar_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point printed_ = begin_;
};

// Returns how far a batch is after some seconds: "12 of 100, 3.4 a second, 26 s left". The rate is left out before the
// first job has ended.
[[nodiscard]] std::string ProgressText(std::size_t ended, std::size_t total, double seconds);
