// resize_option.cpp - reads the forms of --resize.

#include "host/program/resize_option.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <variant>

#include "host/program/exit_status.h"
#include "host/runtime/text.h"

namespace {

using host::Host;
using host::ObjectReference;
using host::Value;

[[noreturn]] void Refuse(const std::string& text) {
    throw UsageError("--resize: '" + text + "' is not a size, expected 1024 (the longer side), 1024x768 or 50%");
}

// Reads the whole text as a positive number.
template <typename Number>
Number PositiveIn(const std::string& number, const std::string& text) {
    Number value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    const bool isNumber = error == std::errc() && end == number.data() + number.size();
    if (!isNumber || !(value > 0) || !std::isfinite(static_cast<double>(value))) Refuse(text);
    return value;
}

std::int32_t Scaled(double side, double scale) {
    constexpr double kMost = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(std::round(side * scale), 1.0, kMost));
}

}  // namespace

ResizeOption ReadResize(const std::string& text, bool isFit, bool isFill) {
    const std::string flag = isFit ? "--fit" : isFill ? "--fill" : "";
    ResizeOption option;
    const std::size_t times = text.find('x');
    if (text.ends_with('%')) {
        option.scale = PositiveIn<double>(text.substr(0, text.size() - 1), text) / 100;
        if (!flag.empty())
            throw UsageError(flag + ": --resize " + text + " keeps proportions, expected a size in pixels");
        option.mode = "stretch";
    } else if (times != std::string::npos) {
        option.width = PositiveIn<std::int32_t>(text.substr(0, times), text);
        option.height = PositiveIn<std::int32_t>(text.substr(times + 1), text);
        option.mode = isFit ? "fit" : isFill ? "fill" : "stretch";
    } else {
        option.width = option.height = PositiveIn<std::int32_t>(text, text);
        option.mode = isFill ? "fill" : "fit";
    }
    return option;
}

ObjectReference Resized(Host& host, const ResizeOption& option, const ObjectReference& image, double width,
                        double height, std::string* step) {
    const bool isScaled = option.scale > 0;
    const std::int32_t wide = isScaled ? Scaled(width, option.scale) : option.width;
    const std::int32_t high = isScaled ? Scaled(height, option.scale) : option.height;
    *step = "Resized width=" + std::to_string(wide) + " height=" + std::to_string(high) + " mode=" + option.mode;
    const Value arguments[] = {wide, high, host::TextValue(option.mode)};
    return std::get<ObjectReference>(host.Call(image.Get(), "Resized", arguments));
}
