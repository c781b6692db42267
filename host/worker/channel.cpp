// channel.cpp - a stream socket. A message is preceded by its length.

#include "host/worker/channel.h"

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

namespace worker {

namespace {

using Length = std::uint64_t;

// Receives so many bytes. Returns false when the other side is gone.
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

}  // namespace

Channel::Channel(Channel&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Channel& Channel::operator=(Channel&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

// The length and the message are sent in one call. A sender that was stopped between two would leave its receiver
// waiting for the rest, unable to take signals.
bool Channel::Send(std::string_view message) {
    Length length = message.size();
    iovec parts[] = {{&length, sizeof length}, {const_cast<char*>(message.data()), message.size()}};
    msghdr whole = {};
    whole.msg_iov = parts;
    whole.msg_iovlen = std::size(parts);
    while (parts[0].iov_len + parts[1].iov_len > 0) {
        const ssize_t count = sendmsg(descriptor_, &whole, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        auto sent = static_cast<std::size_t>(count);
        for (iovec& part : parts) {
            const std::size_t ofPart = std::min(sent, part.iov_len);
            part.iov_base = static_cast<char*>(part.iov_base) + ofPart;
            part.iov_len -= ofPart;
            sent -= ofPart;
        }
    }
    return true;
}

std::optional<std::string> Channel::Receive() {
    // The sender is this program, but a module in it could write to any descriptor.
    constexpr Length kLongest = Length{1} << 30;
    Length length = 0;
    if (!ReceiveAll(descriptor_, &length, sizeof length) || length > kLongest) return std::nullopt;
    std::string message(static_cast<std::size_t>(length), '\0');
    if (!ReceiveAll(descriptor_, message.data(), message.size())) return std::nullopt;
    return message;
}

void Channel::Close() {
    if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
}

}  // namespace worker
