// text.cpp - reads UTF-8, and writes escapes and base64.

#include "host/runtime/text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace host {

namespace {

// Appends one byte as an escape: "\n" or "\xe9".
void AppendEscape(std::string& text, char c) {
    constexpr std::string_view kNamed = "\n\r\t";
    constexpr char kDigits[] = "0123456789abcdef";
    if (const std::size_t named = kNamed.find(c); named != std::string_view::npos) {
        text += {'\\', "nrt"[named]};
        return;
    }
    const auto byte = static_cast<unsigned char>(c);
    text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
}

// Whether a character is one that a terminal obeys: C0, delete and C1.
bool IsControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    return first < ' ' || first == 0x7F || (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}

}  // namespace

std::size_t CharacterLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    // Longer forms than needed, surrogates, and code points beyond U+10FFFF.
    const bool isBad = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                       (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
    return isBad ? 0 : length;
}

bool IsText(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = CharacterLength(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

std::string PrintableText(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const std::size_t length = CharacterLength(bytes);
        const std::string_view character = bytes.substr(0, std::max<std::size_t>(length, 1));
        if (length == 0 || IsControl(character)) {
            for (const char c : character) AppendEscape(text, c);
        } else {
            text += character;
        }
        bytes.remove_prefix(character.size());
    }
    return text;
}

std::string_view Beginning(std::string_view text, std::size_t most) {
    if (text.size() <= most) return text;
    std::size_t end = most;
    while (end > 0 && most - end < 3 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end);
}

constexpr std::string_view kBase64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string Base64(std::string_view bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::string_view group = bytes.substr(at, 3);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0u);
        }
        for (std::size_t i = 0; i < 4; ++i) text += i <= group.size() ? kBase64Digits[bits >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

std::string BytesOfBase64(std::string_view text) {
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char character : text) {
        const std::size_t digit = kBase64Digits.find(character);
        if (digit == std::string_view::npos) break;
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xff);
    }
    return bytes;
}

std::string SystemReason(int errorNumber) {
    std::string reason = std::strerror(errorNumber);
    const bool isWord = reason.size() > 1 && reason[1] >= 'a' && reason[1] <= 'z';  // unlike "RPC version wrong"
    if (isWord && reason[0] >= 'A' && reason[0] <= 'Z') reason[0] = static_cast<char>(reason[0] - 'A' + 'a');
    return reason;
}

}  // namespace host
