// files.cpp - reads whole files; writes to a temporary name beside the final one, then renames.

#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace image_io {
namespace {

// Reads exactly this many bytes, in several reads if necessary. Returns false on an error and at a premature end of
// file.
bool ReadAll(int file, char* bytes, std::size_t length) {
    while (length > 0) {
        const ssize_t count = read(file, bytes, length);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes += count;
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

// Writes all bytes, in several writes if necessary. Returns false on an error.
bool WriteAll(int file, const char* bytes, std::size_t length) {
    while (length > 0) {
        const ssize_t count = write(file, bytes, length);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes += count;
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

// Reads the parts of a file that hold data into zeroed memory. The holes of a sparse file are not read.
bool ReadData(int file, char* bytes, std::size_t length) {
    const auto end = static_cast<off_t>(length);
    for (off_t at = 0; at < end;) {
        const off_t data = lseek(file, at, SEEK_DATA);
        if (data < 0) return errno == ENXIO;  // only a hole is left
        if (data >= end) return true;
        at = std::min(lseek(file, data, SEEK_HOLE), end);
        if (at <= data || lseek(file, data, SEEK_SET) != data) return false;
        if (!ReadAll(file, bytes + data, static_cast<std::size_t>(at - data))) return false;
    }
    return true;
}

// Reads a regular file from its descriptor. Returns false and allocates nothing when that fails.
bool ReadOpenFile(int file, FileContent* content) {
    // On 32 bits, 1 GB: the address space has no room for more, and no picture that fits into it has a larger file.
    // What a file holds beyond that cannot be part of its picture.
    constexpr std::uint64_t kLongestRead = SIZE_MAX / 4;
    struct stat status;
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return false;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    content->length = static_cast<std::size_t>(std::min(size, kLongestRead));
    // One byte extra, because calloc may return null for an empty file.
    content->bytes = std::calloc(content->length + 1, 1);
    if (content->bytes != nullptr && ReadData(file, static_cast<char*>(content->bytes), content->length)) return true;
    std::free(content->bytes);
    *content = {};
    return false;
}

// Returns a temporary name in the folder of a path, unique among running processes and within this one.
std::string TemporaryName(const char* path) {
    static std::atomic<unsigned> count = 0;
    return std::string(path) + "." + std::to_string(getpid()) + "." + std::to_string(count++);
}

}  // namespace

bool ReadFile(const char* path, FileContent* content) {
    // O_NONBLOCK, because opening a pipe without a writer would block.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return false;
    const bool isRead = ReadOpenFile(file, content);
    close(file);
    return isRead;
}

bool WriteFile(const char* path, const void* bytes, std::size_t length) {
    const std::string temporary = TemporaryName(path);
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) return false;
    bool isComplete = WriteAll(file, static_cast<const char*>(bytes), length);
    isComplete = close(file) == 0 && isComplete;
    if (isComplete && std::rename(temporary.c_str(), path) == 0) return true;
    unlink(temporary.c_str());
    return false;
}

}  // namespace image_io
