// suggestion.cpp - the distance of two names: the number of letters to change, add or remove.

#include "host/runtime/suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace host {

namespace {

char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameLetter(char first, char second) { return LowerCase(first) == LowerCase(second); }

bool Contains(std::string_view text, std::string_view part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(), SameLetter) != text.end();
}

std::size_t Distance(std::string_view first, std::string_view second) {
    std::vector<std::size_t> row(second.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char letter : first) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < second.size(); ++j) {
            const std::size_t changed = diagonal + (SameLetter(letter, second[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
        }
    }
    // A missing end costs at most one: "Gausian" is near "GaussianBlur".
    return std::min(row.back(), *std::min_element(row.begin(), row.end()) + 1);
}

}  // namespace

std::vector<std::string> Nearest(std::string_view name, const std::vector<std::string>& known) {
    const std::string* nearest = nullptr;
    // A third of the letters may be wrong, and two letters may be swapped. More distant suggestions would confuse.
    std::size_t least = name.size() / 3 + (name.size() > 3 ? 2 : 1);
    for (const std::string& each : known) {
        const std::size_t distance = Distance(name, each);
        if (distance < least) {
            least = distance;
            nearest = &each;
        }
    }
    if (nearest != nullptr) return {*nearest};
    // Shorter words are part of too many names.
    constexpr std::size_t kShortestPart = 3;
    std::vector<std::string> containing;
    for (const std::string& each : known) {
        if (name.size() >= kShortestPart && Contains(each, name)) containing.push_back(each);
    }
    constexpr std::size_t kMostNames = 3;
    if (containing.size() > kMostNames) containing.clear();
    return containing;
}

std::string SuggestionText(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        text += (i == 0 ? ", did you mean " : i + 1 < names.size() ? ", " : " or ") + names[i];
    }
    return text;
}

std::string Suggestion(std::string_view name, const std::vector<std::string>& known) {
    return SuggestionText(Nearest(name, known));
}

bool EqualIgnoringCase(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(), SameLetter);
}

}  // namespace host
