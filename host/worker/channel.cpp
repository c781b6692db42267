// channel.cpp - a stream socket. A message is preceded by its length.

#include "host/worker/channel.h"

#include <unistd.h>

#include <cstdint>
#include <utility>

#include "host/worker/socket_bytes.h"

namespace worker {

namespace {

using Length = std::uint64_t;

}  // namespace

Channel::Channel(Channel&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Channel& Channel::operator=(Channel&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

bool Channel::Send(std::string_view message) {
    const Length length = message.size();
    return SendAll(descriptor_, &length, sizeof length) && SendAll(descriptor_, message.data(), message.size());
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
