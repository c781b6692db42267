// message.h - what the studio's workers answer: a text in JSON and bytes, as one message of a channel
// (host/worker/channel.h). A request is a message with a text in JSON alone, after a first one with the worker's
// setup.
//
// Threads: as of the channel.

#pragma once

#include <optional>
#include <string>

#include "host/worker/channel.h"

namespace studio {

// The role of the studio's workers.
inline constexpr const char* kWorkerRole = "studio";

struct Message {
    std::string json;
    std::string bytes = {};
};

// Returns false when the other side is gone.
[[nodiscard]] bool Send(worker::Channel& channel, const Message& message);

// Waits for a message. Returns nothing when the other side is gone, or sends something else.
[[nodiscard]] std::optional<Message> Received(worker::Channel& channel);

}  // namespace studio
