// sockets.h - the web sockets of the pages: frames become messages, and answers are sent back.
//
// A text message is a call. An answer with bytes is a binary message: the length of its JSON in 4 bytes, the JSON, the
// bytes; any other answer is a text message.
//
// Lifetime: a socket lives as long as somebody may answer its calls; answers to a closed one are dropped.
// Threads:  any.

#pragma once

#include <civetweb.h>

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "host/studio/http.h"
#include "host/studio/message.h"

namespace studio {

// A page that is connected.
class Socket {
  public:
    Socket(mg_connection* connection, int number) : number_(number), connection_(connection) {}

    int Number() const { return number_; }

    // Takes a frame. Stores whether the message is complete, and returns false for a frame that ends the connection.
    [[nodiscard]] bool Take(int bits, std::string_view data, bool& isComplete);

    // The last complete message.
    const std::string& Text() const { return text_; }

    // Sends the answer to a call. Its members follow the id of the call.
    void Send(const Json& id, const Message& answer);

    void Close();

  private:
    const int number_;
    std::string text_;  // the parts of a message so far; used by the connection's thread
    int opcode_ = 0;
    std::mutex mutex_;           // keeps messages apart, and guards what follows
    mg_connection* connection_;  // null when it is closed
};

class Sockets {
  public:
    // Whether no more may be added.
    bool IsFull() const;

    void Add(mg_connection* connection);

    // Returns the socket of a connection; null when it has none.
    std::shared_ptr<Socket> Find(const mg_connection* connection) const;

    void Remove(const mg_connection* connection);

  private:
    mutable std::mutex mutex_;
    std::map<const mg_connection*, std::shared_ptr<Socket>> sockets_;
    int nextNumber_ = 1;
};

}  // namespace studio
