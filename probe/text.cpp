// text.cpp - formats pieces of a text behind each other.

#include "probe/text.h"

#include <cstdio>

namespace probe {

void Text::Add(const char* format, ...) {
    const std::size_t room = sizeof bytes_ - length_;
    __builtin_va_list arguments;
    __builtin_va_start(arguments, format);
    const int length = std::vsnprintf(bytes_ + length_, room, format, arguments);
    __builtin_va_end(arguments);
    isWhole_ = isWhole_ && length >= 0 && static_cast<std::size_t>(length) < room;
    if (isWhole_) length_ += static_cast<std::size_t>(length);
    bytes_[length_] = '\0';
}

void Text::AddJsonString(const char* text) {
    Add("\"");
    for (; *text != '\0'; ++text) {
        const bool isSpecial = *text == '"' || *text == '\\';
        if (static_cast<unsigned char>(*text) < ' ') {
            Add("\\u%04x", static_cast<unsigned>(*text));
        } else {
            Add(isSpecial ? "\\%c" : "%c", *text);
        }
    }
    Add("\"");
}

}  // namespace probe
