// memory_limit.cpp - a number and one letter.

#include "host/program/memory_limit.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iterator>
#include <system_error>

#include "host/program/exit_status.h"
#include "host/runtime/value.h"

namespace {

struct Unit {
    char letter;
    double bytes;
};

constexpr Unit kUnits[] = {{'M', 1 << 20}, {'G', 1 << 30}};

// Less would not hold the rows of a large picture.
constexpr double kLeast = 16 << 20;
constexpr double kMostBytes = 1e15;  // more than any machine has

}  // namespace

std::uint64_t MemorySize(const std::string& option, const std::string& text) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, number);
    const auto unit = std::find_if(std::begin(kUnits), std::end(kUnits), [&](const Unit& each) {
        return end - read.ptr == 1 && std::toupper(*read.ptr) == each.letter;
    });
    if (read.ec != std::errc() || unit == std::end(kUnits) || !std::isfinite(number)) {
        throw UsageError(option + " must be a size such as 256M or 1G, got '" + text + "'");
    }
    const double bytes = number * unit->bytes;
    if (bytes < kLeast) {
        throw UsageError(option + " must be at least " + host::NumberText(kLeast / (1 << 20)) + "M, got '" + text +
                         "'");
    }
    return static_cast<std::uint64_t>(std::min(bytes, kMostBytes));
}
