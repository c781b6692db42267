// memory.cpp - the copies through a pipe.

#include "probe/memory.h"

#include <unistd.h>

#include <cstring>

namespace probe {

namespace {

// A pipe holds this much on every system, so that no write waits for a reader.
constexpr std::size_t kPart = 4096;

class Pipe {
  public:
    Pipe() : isOpen_(pipe(ends_) == 0) {}
    ~Pipe() {
        if (!isOpen_) return;
        close(ends_[0]);
        close(ends_[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    // Copies at most kPart bytes.
    [[nodiscard]] bool Copy(const void* from, void* to, std::size_t size) const {
        return isOpen_ && write(ends_[1], from, size) == static_cast<ssize_t>(size) &&
               read(ends_[0], to, size) == static_cast<ssize_t>(size);
    }

  private:
    int ends_[2];
    bool isOpen_;
};

// Calls work(offset, size) for each part of the bytes while it returns true.
template <typename Work>
bool InParts(std::size_t size, Work work) {
    for (std::size_t done = 0; done < size; done += kPart) {
        if (!work(done, size - done < kPart ? size - done : kPart)) return false;
    }
    return true;
}

char* At(void* address, std::size_t offset) { return static_cast<char*>(address) + offset; }
const char* At(const void* address, std::size_t offset) { return static_cast<const char*>(address) + offset; }

}  // namespace

bool IsEqual(const void* at, const void* bytes, std::size_t size) {
    const Pipe pipe;
    return InParts(size, [&](std::size_t offset, std::size_t part) {
        char got[kPart];
        return pipe.Copy(At(at, offset), got, part) && std::memcmp(got, At(bytes, offset), part) == 0;
    });
}

bool IsFilled(const void* at, int byte, std::size_t size) {
    char bytes[kPart];
    std::memset(bytes, byte, sizeof bytes);
    return InParts(size, [&](std::size_t offset, std::size_t part) { return IsEqual(At(at, offset), bytes, part); });
}

bool Fill(void* at, int byte, std::size_t size) {
    const Pipe pipe;
    char bytes[kPart];
    std::memset(bytes, byte, sizeof bytes);
    return InParts(size, [&](std::size_t offset, std::size_t part) { return pipe.Copy(bytes, At(at, offset), part); });
}

}  // namespace probe
