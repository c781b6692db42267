// sockets.cpp - frames of a web socket, within limits.

#include "host/studio/sockets.h"

namespace studio {
namespace {

constexpr std::size_t kMostMessageBytes = 4 << 20;
constexpr std::size_t kMostSockets = 8;

}  // namespace

bool Socket::Take(int bits, std::string_view data, bool& isComplete) {
    constexpr int kIsLast = 0x80;
    constexpr int kOpcode = 0x0f;
    constexpr int kReserved = 0x70;
    isComplete = false;
    if ((bits & kReserved) != 0) return false;
    switch (bits & kOpcode) {
        case MG_WEBSOCKET_OPCODE_PING:
        case MG_WEBSOCKET_OPCODE_PONG:
            return true;
        case MG_WEBSOCKET_OPCODE_CONTINUATION:
            if (opcode_ == 0) return false;
            break;
        case MG_WEBSOCKET_OPCODE_TEXT:
            if (opcode_ != 0) return false;
            opcode_ = MG_WEBSOCKET_OPCODE_TEXT;
            text_.clear();
            break;
        default:
            return false;
    }
    if (text_.size() + data.size() > kMostMessageBytes) return false;
    text_ += data;
    isComplete = (bits & kIsLast) != 0;
    if (isComplete) opcode_ = 0;
    return true;
}

void Socket::Send(const Json& id, const Message& answer) {
    const bool isEmpty = answer.json == "{}";
    const std::string json = "{\"id\":" + id.dump() + (isEmpty ? "" : ",") + answer.json.substr(1);
    const std::scoped_lock lock(mutex_);
    if (connection_ == nullptr) return;
    if (answer.bytes.empty()) {
        mg_websocket_write(connection_, MG_WEBSOCKET_OPCODE_TEXT, json.data(), json.size());
        return;
    }
    std::string message;
    message.reserve(4 + json.size() + answer.bytes.size());
    for (int shift = 0; shift < 32; shift += 8) message += static_cast<char>(json.size() >> shift & 0xff);
    message += json;
    message += answer.bytes;
    mg_websocket_write(connection_, MG_WEBSOCKET_OPCODE_BINARY, message.data(), message.size());
}

void Socket::Close() {
    const std::scoped_lock lock(mutex_);
    connection_ = nullptr;
}

bool Sockets::IsFull() const {
    const std::scoped_lock lock(mutex_);
    return sockets_.size() >= kMostSockets;
}

void Sockets::Add(mg_connection* connection) {
    const std::scoped_lock lock(mutex_);
    sockets_[connection] = std::make_shared<Socket>(connection, nextNumber_++);
}

std::shared_ptr<Socket> Sockets::Find(const mg_connection* connection) const {
    const std::scoped_lock lock(mutex_);
    const auto found = sockets_.find(connection);
    return found != sockets_.end() ? found->second : nullptr;
}

void Sockets::Remove(const mg_connection* connection) {
    const std::shared_ptr<Socket> socket = Find(connection);
    if (socket != nullptr) socket->Close();
    const std::scoped_lock lock(mutex_);
    sockets_.erase(connection);
}

}  // namespace studio
