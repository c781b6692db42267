// message.cpp - two lengths, then the text and the bytes.

#include "host/studio/message.h"

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/uio.h>

#include <cerrno>

namespace studio {
namespace {

struct Lengths {
    std::uint64_t json;
    std::uint64_t bytes;
};

bool SendAll(int socket, const char* bytes, std::size_t count) {
    while (count > 0) {
        // A closed socket is a result here, not a signal.
        const ssize_t sent = send(socket, bytes, count, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        bytes += sent;
        count -= static_cast<std::size_t>(sent);
    }
    return true;
}

bool ReceiveAll(int socket, char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t received = recv(socket, bytes, count, 0);
        if (received < 0 && errno == EINTR) continue;
        if (received <= 0) return false;
        bytes += received;
        count -= static_cast<std::size_t>(received);
    }
    return true;
}

}  // namespace

bool Send(int socket, const Message& message) {
    const Lengths lengths = {message.json.size(), message.bytes.size()};
    return SendAll(socket, reinterpret_cast<const char*>(&lengths), sizeof lengths) &&
           SendAll(socket, message.json.data(), message.json.size()) &&
           SendAll(socket, message.bytes.data(), message.bytes.size());
}

bool Receive(int socket, Message& message) {
    Lengths lengths;
    if (!ReceiveAll(socket, reinterpret_cast<char*>(&lengths), sizeof lengths)) return false;
    if (lengths.json > kLargestMessage || lengths.bytes > kLargestMessage) return false;
    message.json.resize(lengths.json);
    message.bytes.resize(lengths.bytes);
    return ReceiveAll(socket, message.json.data(), message.json.size()) &&
           ReceiveAll(socket, message.bytes.data(), message.bytes.size());
}

}  // namespace studio
