// texts.cpp - lengths in decimal.

#include "host/worker/texts.h"

#include <charconv>
#include <cstddef>
#include <system_error>

namespace worker {

std::string Pack(const std::vector<std::string>& texts) {
    std::string message;
    for (const std::string& text : texts) {
        message += std::to_string(text.size()) + ':';
        message += text;
    }
    return message;
}

std::optional<std::vector<std::string>> Unpack(std::string_view message) {
    std::vector<std::string> texts;
    while (!message.empty()) {
        const char* end = message.data() + message.size();
        std::size_t length = 0;
        const auto [colon, error] = std::from_chars(message.data(), end, length);
        if (error != std::errc() || colon == end || *colon != ':' || length >= static_cast<std::size_t>(end - colon))
            return std::nullopt;
        texts.emplace_back(colon + 1, length);
        message.remove_prefix(static_cast<std::size_t>(colon + 1 - message.data()) + length);
    }
    return texts;
}

}  // namespace worker
