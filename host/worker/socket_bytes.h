// socket_bytes.h - sends and receives all of some bytes over a stream socket.
//
// Threads: one sends and one receives at a time.

#pragma once

#include <cstddef>

namespace worker {

// Return false when the other side is gone. That is a result here, not a signal.
[[nodiscard]] bool SendAll(int descriptor, const void* bytes, std::size_t length);
[[nodiscard]] bool ReceiveAll(int descriptor, void* bytes, std::size_t length);

}  // namespace worker
