// value.cpp - values made of text, and numbers as text.

#include "host/runtime/value.h"

#include <charconv>

#include "host/runtime/string.h"

namespace host {

Value TextValue(std::string_view text) { return NewString(text); }

std::string NumberText(double number) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number).ptr;
    return std::string(text, end);
}

}  // namespace host
