// progress.cpp - draws the progress bar and prints the lines.

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

void Progress::Tick() {
    Draw();
    const auto now = std::chrono::steady_clock::now();
    if (hasBar_ || isQuiet_ || now - printed_ < std::chrono::minutes(1)) return;
    printed_ = now;
    const std::chrono::duration<double> elapsed = now - begin_;
    std::fprintf(stderr, "%s\n", ProgressText(ended_, total_, elapsed.count()).c_str());
}

void Progress::Summarize(const std::string& what) {
    Erase();
    if (isQuiet_) return;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin_;
    std::printf("%zu of %zu pictures %s, %zu failed, %.1f s\n", ended_ - failures_, total_,
                host::PrintableText(what).c_str(), failures_, elapsed.count());
}

void Progress::Draw() const {
    if (!hasBar_ || total_ == 0) return;
    constexpr std::size_t kWidth = 40;
    const std::size_t filled = kWidth * ended_ / total_;
    const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin_;
    std::fprintf(stderr, "\r[%s] %s\x1b[K", bar.c_str(), ProgressText(ended_, total_, elapsed.count()).c_str());
    std::fflush(stderr);
}

// The escape sequence clears the line after the cursor.
void Progress::Erase() const {
    if (hasBar_) std::fputs("\r\x1b[K", stderr);
}

std::string ProgressText(std::size_t ended, std::size_t total, double seconds) {
    std::string text = std::to_string(ended) + " of " + std::to_string(total);
    if (ended == 0 || seconds <= 0) return text;
    const double rate = static_cast<double>(ended) / seconds;
    const double left = static_cast<double>(total - ended) / rate;
    char numbers[96];
    const auto print = [&](const char* format, auto... values) {
        std::snprintf(numbers, sizeof numbers, format, values...);
        text += numbers;
    };
    print(rate < 100 ? ", %.2g a second, " : ", %.0f a second, ", rate);
    constexpr double kMinute = 60, kHour = 3600, kDay = 86400;
    if (left < 2 * kMinute) {
        print("%.0f s left", left);
    } else if (left < 2 * kHour) {
        print("%.0f min left", left / kMinute);
    } else if (left < 2 * kDay) {
        print("%.1f h left", left / kHour);
    } else {
        print("%.1f days left", left / kDay);
    }
    return text;
}
