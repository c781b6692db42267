// files.cpp - reading in one piece, and writing beside the final name, which is then taken.

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

// Reads everything; it may come in pieces. False when the file is shorter than it was.
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

// Writes everything; it may go in pieces.
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

// A name beside a path that nobody else uses at this moment.
std::string NameBeside(const char* path) {
    static std::atomic<unsigned> count = 0;
    return std::string(path) + "." + std::to_string(getpid()) + "." + std::to_string(count++);
}

}  // namespace

bool ReadFile(const char* path, FileContent* content) {
    // Why not to wait: opening a pipe that nobody writes to would.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return false;
    const bool isRead = ReadOpenFile(file, content);
    close(file);
    return isRead;
}

bool WriteFile(const char* path, const void* bytes, std::size_t length) {
    const std::string beside = NameBeside(path);
    const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) return false;
    bool isWhole = WriteAll(file, static_cast<const char*>(bytes), length);
    isWhole = close(file) == 0 && isWhole;
    if (isWhole && std::rename(beside.c_str(), path) == 0) return true;
    unlink(beside.c_str());
    return false;
}

}  // namespace image_io
