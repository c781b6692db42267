// suggestion.cpp - the distance of two names: the number of letters to change, add or remove.

#include "host/runtime/suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace host {

namespace {

char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::size_t Distance(std::string_view first, std::string_view second) {
    std::vector<std::size_t> row(second.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char letter : first) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < second.size(); ++j) {
            const std::size_t changed = diagonal + (LowerCase(letter) != LowerCase(second[j]));
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
        }
    }
    // A missing end costs at most one: "Gausian" is near "GaussianBlur".
    return std::min(row.back(), *std::min_element(row.begin(), row.end()) + 1);
}

}  // namespace

std::string Suggestion(std::string_view name, const std::vector<std::string>& known) {
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
    return nearest != nullptr ? ", did you mean " + *nearest : "";
}

}  // namespace host
