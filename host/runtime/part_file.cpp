// part_file.cpp - a lock tells a file that is being written from one that was left.

#include "host/runtime/part_file.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace host {

std::string PartFileOf(const std::string& target) {
    constexpr std::string_view kPrefix = ".", kSuffix = ".zeva-part";
    const std::size_t name = target.rfind('/') + 1;
    return target.substr(0, name) + std::string(kPrefix) +
           target.substr(name, NAME_MAX - kPrefix.size() - kSuffix.size()) + std::string(kSuffix);
}

void RemovePartFile(const std::string& target) {
    const std::string part = PartFileOf(target);
    const int file = open(part.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0) return;
    if (flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) unlink(part.c_str());
    close(file);
}

}  // namespace host
