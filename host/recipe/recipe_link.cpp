// recipe_link.cpp - percent encoding. Only the characters that RFC 3986 calls unreserved stand for themselves.

#include "host/recipe/recipe_link.h"

#include <cstdint>

#include "host/recipe/recipe_syntax.h"

namespace {

constexpr std::string_view kLinkPrefix = "#zeva1=";
constexpr std::string_view kHexDigits = "0123456789ABCDEF";

// The value of a hexadecimal digit in either case; npos for another character.
std::size_t DigitValue(char c) {
    const bool isLower = c >= 'a' && c <= 'f';
    return kHexDigits.find(isLower ? static_cast<char>(c - 'a' + 'A') : c);
}

bool IsUnreserved(char c) {
    const bool isLetterOrDigit = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    return isLetterOrDigit || c == '-' || c == '.' || c == '_' || c == '~';
}

std::string LimitText() { return std::to_string(kLongestLink) + " bytes of the longest link"; }

}  // namespace

bool IsRecipeLink(std::string_view word) { return word.find(kLinkPrefix) != std::string_view::npos; }

Recipe ParseLink(std::string_view word) {
    const RecipePlace place = {kLinkFile, 0, 0};
    const std::string_view link = word.substr(word.find(kLinkPrefix));
    if (link.size() > kLongestLink) throw RecipeError(place, "", "more than the " + LimitText());
    std::string text;
    for (std::size_t i = kLinkPrefix.size(); i < link.size(); ++i) {
        if (link[i] != '%') {
            text += link[i];
            continue;
        }
        const std::size_t high = i + 1 < link.size() ? DigitValue(link[i + 1]) : std::string_view::npos;
        const std::size_t low = i + 2 < link.size() ? DigitValue(link[i + 2]) : std::string_view::npos;
        if (high == std::string_view::npos || low == std::string_view::npos) {
            throw RecipeError(place, std::string(link.substr(i, 3)),
                              "expected two hexadecimal digits after the %; the link is damaged");
        }
        text += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return ParseRecipe(text, kLinkFile);
}

std::string RecipeLink(const Recipe& recipe) {
    std::string link(kLinkPrefix);
    for (const char c : RecipeText(recipe)) {
        const auto byte = static_cast<std::uint8_t>(c);
        if (IsUnreserved(c)) {
            link += c;
        } else {
            link.append({'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]});
        }
    }
    if (link.size() > kLongestLink) {
        throw RecipeError(
            {}, "--link",
            "the link would have " + std::to_string(link.size()) + " bytes, more than the " + LimitText());
    }
    return link;
}
