// channel.h - messages between a program and its worker. A message is a list of bytes, as long as memory allows.
//
// Lifetime: a channel owns its descriptor. The other side sees the end of the channel when the process that holds this
//           side ends, however it ends.
// Failure:  the end of the channel is a result and not an error.
// Threads:  one sends and one receives at a time.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace worker {

class Channel {
  public:
    explicit Channel(int descriptor) : descriptor_(descriptor) {}
    ~Channel() { Close(); }
    Channel(Channel&& other) noexcept;
    Channel& operator=(Channel&& other) noexcept;

    // Sends a message. Returns false when the other side is gone.
    [[nodiscard]] bool Send(std::string_view message);

    // Waits for a message. Returns nothing when the other side is gone, even within a message.
    [[nodiscard]] std::optional<std::string> Receive();

    // The descriptor, to wait for a message together with other things. -1 for a closed channel.
    [[nodiscard]] int Descriptor() const { return descriptor_; }

    void Close();

  private:
    int descriptor_;
};

}  // namespace worker
