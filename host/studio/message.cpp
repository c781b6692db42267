// message.cpp - the members of a message as a list of texts.

#include "host/studio/message.h"

#include <utility>
#include <vector>

#include "host/worker/texts.h"

namespace studio {

bool Send(worker::Channel& channel, const Message& message) {
    return channel.Send(worker::Pack({message.json, message.bytes}));
}

std::optional<Message> Received(worker::Channel& channel) {
    const std::optional<std::string> received = channel.Receive();
    if (!received) return std::nullopt;
    std::optional<std::vector<std::string>> texts = worker::Unpack(*received);
    if (!texts || texts->size() != 2) return std::nullopt;
    return Message{std::move((*texts)[0]), std::move((*texts)[1])};
}

}  // namespace studio
