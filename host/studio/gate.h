// gate.h - decides who may talk to the studio's server.
//
//   a link      has a token that works once and for a minute; the browser that follows it gets a cookie
//   the cookie  admits every further request. It is not bound to a port, so another server on this machine receives it
//               too; therefore
//   the secret  is known to the page only, and admits what changes something
//   Host        must be this server's own name: a foreign name that leads to this machine is refused
//   Origin      must be this server, on requests that change something and on web sockets
//
// Tokens are compared in constant time and never printed anywhere but in the link.
//
// Threads: any.

#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace studio {

// Returns 128 bits from the system's generator in hexadecimal. Throws std::system_error when it has none.
[[nodiscard]] std::string RandomName();

class Gate {
  public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds kTokenLife{60};

    Gate();

    // Sets the port, which the names of the server end with.
    void SetPort(int port) { port_ = std::to_string(port); }

    // Returns a new token. Those that exist remain valid.
    [[nodiscard]] std::string NewToken(Clock::time_point now);

    // Whether a token is valid. It is not afterward.
    [[nodiscard]] bool UseToken(std::string_view token, Clock::time_point now);

    // The value of the cookie, and the secret of the page.
    const std::string& Cookie() const { return cookie_; }
    const std::string& Secret() const { return secret_; }

    // The name of the cookie, which contains the port: two studios may run at the same time.
    [[nodiscard]] std::string CookieName() const { return "zeva_studio_" + port_; }

    // Whether the header of a request names this server. A missing header is null.
    [[nodiscard]] bool AdmitsHost(const char* host) const;
    [[nodiscard]] bool AdmitsOrigin(const char* origin) const;

    // Whether the Cookie header has the cookie.
    [[nodiscard]] bool AdmitsCookie(const char* cookies) const;

    [[nodiscard]] bool AdmitsSecret(const char* secret) const;

  private:
    struct Token {
        std::string text;
        Clock::time_point end;
    };

    std::string port_;
    const std::string cookie_;
    const std::string secret_;
    std::mutex mutex_;
    std::vector<Token> tokens_;
};

}  // namespace studio
