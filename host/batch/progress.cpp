// progress.cpp - draws the progress bar.

#include "host/batch/progress.h"

#include <unistd.h>

#include <cstdio>

#include "host/runtime/text.h"

Progress::Progress(std::size_t total, bool isQuiet)
    : total_(total), isQuiet_(isQuiet), hasBar_(!isQuiet && isatty(STDERR_FILENO) != 0) {
    Draw();
}

void Progress::Done(const std::string& failure) {
    ++ended_;
    if (!failure.empty()) {
        ++failures_;
        Erase();
        std::fprintf(stderr, "zeva: %s\n", host::PrintableText(failure).c_str());
    }
    Draw();
}

void Progress::Summarize(const std::string& what) {
    Erase();
    if (isQuiet_) return;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin_;
    std::printf("%zu of %zu pictures %s, %zu failed, %.1f s\n", total_ - failures_, total_,
                host::PrintableText(what).c_str(), failures_, elapsed.count());
}

void Progress::Draw() const {
    if (!hasBar_ || total_ == 0) return;
    constexpr std::size_t kWidth = 40;
    const std::size_t filled = kWidth * ended_ / total_;
    const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    std::fprintf(stderr, "\r[%s] %zu of %zu", bar.c_str(), ended_, total_);
    std::fflush(stderr);
}

// The escape sequence clears the line after the cursor.
void Progress::Erase() const {
    if (hasBar_) std::fputs("\r\x1b[K", stderr);
}
