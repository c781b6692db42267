// message.h - what the studio's server and its workers send each other over a socket: a text in JSON, and bytes.
//
// Both ends are this program on this machine, so numbers have the machine's byte order.
//
// Threads: one thread at a time writes to a socket, and one reads from it.

#pragma once

#include <cstdint>
#include <string>

namespace studio {

// The longest message. Why a limit: a damaged length must not exhaust the memory.
inline constexpr std::uint64_t kLargestMessage = std::uint64_t{1} << 30;

struct Message {
    std::string json;
    std::string bytes;
};

// Returns false when the other end is gone.
[[nodiscard]] bool Send(int socket, const Message& message);

// Waits for a message. Returns false when the other end is gone, or sends something else.
[[nodiscard]] bool Receive(int socket, Message& message);

}  // namespace studio
