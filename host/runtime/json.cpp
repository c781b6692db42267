// json.cpp - builds the tree and writes it.

#include "host/runtime/json.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <utility>

#include "host/runtime/text.h"

namespace host {

namespace {

void WriteString(std::string& text, std::string_view string) {
    constexpr const char* kReplacement = "\xEF\xBF\xBD";
    text += '"';
    while (!string.empty()) {
        const std::size_t length = CharacterLength(string);
        const char first = string[0];
        if (length == 0) {
            text += kReplacement;
        } else if (first == '"' || first == '\\') {
            text += {'\\', first};
        } else if (const std::size_t escape = std::string_view("\b\f\n\r\t").find(first);
                   escape != std::string_view::npos) {
            text += {'\\', "bfnrt"[escape]};
        } else if (static_cast<unsigned char>(first) < ' ') {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(first));
            text += code;
        } else {
            text += string.substr(0, length);
        }
        string.remove_prefix(std::max<std::size_t>(length, 1));
    }
    text += '"';
}

// A double always has a point or an exponent, so that it reads back as a double. An exponent is used only when the
// plain form would need more than three zeros after the point or more digits than a double has.
void WriteDouble(std::string& text, double number) {
    if (!std::isfinite(number)) {
        text += "null";
        return;
    }
    const double magnitude = std::abs(number);
    const bool isPlain = number == 0 || (magnitude >= 1e-4 && magnitude < 1e15);
    char digits[32];
    const auto format = isPlain ? std::chars_format::fixed : std::chars_format::scientific;
    const char* end = std::to_chars(digits, digits + sizeof digits, number, format).ptr;
    const std::string_view written(digits, static_cast<std::size_t>(end - digits));
    text += written;
    if (written.find_first_of(".e") == std::string_view::npos) text += ".0";
}

void WriteLineBreak(std::string& text, int indent, int depth) {
    if (indent < 0) return;
    text += '\n';
    text.append(static_cast<std::size_t>(indent * depth), ' ');
}

// Writes a list of elements between brackets; writeElement(i) writes one of them.
template <typename WriteElement>
void WriteList(std::string& text, const char (&brackets)[3], std::size_t count, int indent, int depth,
               WriteElement writeElement) {
    text += brackets[0];
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) text += ',';
        WriteLineBreak(text, indent, depth + 1);
        writeElement(i);
    }
    if (count > 0) WriteLineBreak(text, indent, depth);
    text += brackets[1];
}

}  // namespace

Json::Json(std::initializer_list<Json> elements) {
    const auto asMember = [](const Json& element) -> const Array* {
        const auto* pair = std::get_if<Array>(&element.value_);
        const bool isMember =
            pair != nullptr && pair->size() == 2 && std::holds_alternative<std::string>((*pair)[0].value_);
        return isMember ? pair : nullptr;
    };
    if (elements.size() == 0) return;
    if (!std::all_of(elements.begin(), elements.end(), asMember)) {
        value_ = Array(elements);
        return;
    }
    Object members;
    for (const Json& element : elements) {
        const Array& pair = *asMember(element);
        members.names.push_back(std::get<std::string>(pair[0].value_));
        members.values.push_back(pair[1]);
    }
    value_ = std::move(members);
}

Json Json::MakeArray(std::initializer_list<Json> elements) {
    Json json;
    json.value_ = Array(elements);
    return json;
}

Json Json::MakeObject() {
    Json json;
    json.value_ = Object();
    return json;
}

bool Json::empty() const {
    if (const auto* array = std::get_if<Array>(&value_)) return array->empty();
    if (const auto* object = std::get_if<Object>(&value_)) return object->names.empty();
    return std::holds_alternative<std::nullptr_t>(value_);
}

void Json::push_back(Json element) {
    if (std::holds_alternative<std::nullptr_t>(value_)) value_ = Array();
    std::get<Array>(value_).push_back(std::move(element));
}

Json& Json::operator[](std::string_view name) {
    if (std::holds_alternative<std::nullptr_t>(value_)) value_ = Object();
    auto& [names, values] = std::get<Object>(value_);
    const auto found = std::find(names.begin(), names.end(), name);
    if (found != names.end()) return values[static_cast<std::size_t>(found - names.begin())];
    names.emplace_back(name);
    return values.emplace_back();
}

void Json::SetName(std::string_view member, std::string_view bytes) {
    (*this)[member] = bytes;
    if (!IsText(bytes)) (*this)[std::string(member) + "Base64"] = Base64(bytes);
}

void Json::Merge(const Json& members) {
    const auto& [names, values] = std::get<Object>(members.value_);
    for (std::size_t i = 0; i < names.size(); ++i) (*this)[names[i]] = values[i];
}

std::string Json::Dump(int indent) const {
    std::string text;
    Write(text, indent, 0);
    return text;
}

void Json::Write(std::string& text, int indent, int depth) const {
    if (const auto* truth = std::get_if<bool>(&value_)) {
        text += *truth ? "true" : "false";
    } else if (const auto* integer = std::get_if<std::int64_t>(&value_)) {
        text += std::to_string(*integer);
    } else if (const auto* number = std::get_if<double>(&value_)) {
        WriteDouble(text, *number);
    } else if (const auto* string = std::get_if<std::string>(&value_)) {
        WriteString(text, *string);
    } else if (const auto* array = std::get_if<Array>(&value_)) {
        WriteList(text, "[]", array->size(), indent, depth,
                  [&](std::size_t i) { (*array)[i].Write(text, indent, depth + 1); });
    } else if (const auto* object = std::get_if<Object>(&value_)) {
        WriteList(text, "{}", object->names.size(), indent, depth, [&](std::size_t i) {
            WriteString(text, object->names[i]);
            text += indent < 0 ? ":" : ": ";
            object->values[i].Write(text, indent, depth + 1);
        });
    } else {
        text += "null";
    }
}

}  // namespace host
