// progress.h - the progress of a batch: a bar on a terminal, a line per failure, a summary at the end.
//
// The bar and the failures go to standard error, the summary to standard output. Without a terminal there is no bar.

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
};
