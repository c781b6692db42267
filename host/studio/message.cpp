// message.cpp - two lengths, then the text and the bytes.

#include "host/studio/message.h"

#include "host/worker/socket_bytes.h"

namespace studio {
namespace {

using worker::ReceiveAll;
using worker::SendAll;

struct Lengths {
    std::uint64_t json;
    std::uint64_t bytes;
};

}  // namespace

bool Send(int socket, const Message& message) {
    const Lengths lengths = {message.json.size(), message.bytes.size()};
    return SendAll(socket, &lengths, sizeof lengths) && SendAll(socket, message.json.data(), message.json.size()) &&
           SendAll(socket, message.bytes.data(), message.bytes.size());
}

bool Receive(int socket, Message& message) {
    Lengths lengths;
    if (!ReceiveAll(socket, &lengths, sizeof lengths)) return false;
    if (lengths.json > kLargestMessage || lengths.bytes > kLargestMessage) return false;
    message.json.resize(lengths.json);
    message.bytes.resize(lengths.bytes);
    return ReceiveAll(socket, message.json.data(), message.json.size()) &&
           ReceiveAll(socket, message.bytes.data(), message.bytes.size());
}

}  // namespace studio
