// text.h - a text that is put together piece by piece, in memory that is there from the start.
//
// Failure: what does not fit is left out; IsWhole tells.
// Threads: the host's thread.

#pragma once

#include <cstddef>

namespace probe {

class Text {
  public:
    void Add(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Adds a string of JSON with its quotes. The bytes are ASCII.
    void AddJsonString(const char* text);

    const char* Bytes() const { return bytes_; }
    std::size_t Length() const { return length_; }
    bool IsWhole() const { return isWhole_; }

  private:
    char bytes_[1 << 16] = {};
    std::size_t length_ = 0;
    bool isWhole_ = true;
};

}  // namespace probe
