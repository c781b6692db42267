// gate.cpp - exact comparisons only: nothing is parsed that need not be.

#include "host/studio/gate.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace studio {
namespace {

// Takes the same time wherever the texts differ.
bool AreEqual(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    unsigned difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i) difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

constexpr std::array<std::string_view, 3> kNames = {"127.0.0.1", "localhost", "[::1]"};

}  // namespace

std::string RandomName() {
    std::array<unsigned char, 16> bytes;
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::system_error(errno, std::generic_category(), "no random numbers");
    }
    std::string text;
    for (const unsigned char byte : bytes) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

Gate::Gate() : cookie_(RandomName()), secret_(RandomName()) {}

std::string Gate::NewToken(Clock::time_point now) {
    const std::scoped_lock lock(mutex_);
    std::erase_if(tokens_, [&](const Token& token) { return token.end <= now; });
    tokens_.push_back({RandomName(), now + kTokenLife});
    return tokens_.back().text;
}

bool Gate::UseToken(std::string_view token, Clock::time_point now) {
    const std::scoped_lock lock(mutex_);
    return std::erase_if(tokens_, [&](const Token& each) { return each.end > now && AreEqual(each.text, token); }) > 0;
}

bool Gate::AdmitsHost(const char* host) const {
    return host != nullptr &&
           std::ranges::any_of(kNames, [&](std::string_view name) { return std::string(name) + ":" + port_ == host; });
}

bool Gate::AdmitsOrigin(const char* origin) const {
    constexpr std::string_view kScheme = "http://";
    return origin != nullptr && std::string_view(origin).starts_with(kScheme) && AdmitsHost(origin + kScheme.size());
}

bool Gate::AdmitsCookie(const char* cookies) const {
    if (cookies == nullptr) return false;
    const std::string wanted = CookieName() + "=" + cookie_;
    std::string_view rest = cookies;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        std::string_view item = rest.substr(0, end);
        while (item.starts_with(' ')) item.remove_prefix(1);
        if (AreEqual(item, wanted)) return true;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
}

bool Gate::AdmitsSecret(const char* secret) const { return secret != nullptr && AreEqual(secret, secret_); }

}  // namespace studio
