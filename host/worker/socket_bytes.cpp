// socket_bytes.cpp - repeats calls of the system that transfer only a part.

#include "host/worker/socket_bytes.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <cerrno>

namespace worker {

bool SendAll(int descriptor, const void* bytes, std::size_t length) {
    const char* at = static_cast<const char*>(bytes);
    while (length > 0) {
        const ssize_t count = send(descriptor, at, length, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        at += count;
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

bool ReceiveAll(int descriptor, void* bytes, std::size_t length) {
    char* at = static_cast<char*>(bytes);
    while (length > 0) {
        const ssize_t count = recv(descriptor, at, length, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        at += count;
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace worker
