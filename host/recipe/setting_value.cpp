// setting_value.cpp - one reader per type word of a key.

#include "host/recipe/setting_value.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <numbers>
#include <span>
#include <system_error>

#include "host/description/color_name.h"
#include "host/recipe/cube_file.h"
#include "host/runtime/errors.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/suggestion.h"
#include "host/runtime/text.h"

namespace {

using host::Host;
using host::HostError;
using host::Value;

std::string Quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

double NumberIn(const std::string& subject, std::string_view text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
        throw HostError(subject, Quoted(text) + " is not a number");
    }
    return number;
}

// Returns the numbers as text with commas.
std::string ListText(std::span<const double> numbers) {
    std::string list;
    for (const double number : numbers) list += (list.empty() ? "" : ",") + host::NumberText(number);
    return list;
}

std::int32_t IntegerIn(const std::string& setting, std::string_view text) {
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw HostError(setting, Quoted(text) + " is not a whole number");
    }
    return number;
}

bool BooleanIn(const std::string& setting, std::string_view text) {
    if (text == "yes" || text == "true") return true;
    if (text == "no" || text == "false") return false;
    throw HostError(setting, Quoted(text) + " is neither yes nor no");
}

Value Number(Host&, const std::string& setting, std::string_view text) { return NumberIn(setting, text); }

std::string NumberCanonical(const std::string& setting, std::string_view text) {
    return host::NumberText(NumberIn(setting, text));
}

Value Integer(Host&, const std::string& setting, std::string_view text) { return IntegerIn(setting, text); }

std::string IntegerCanonical(const std::string& setting, std::string_view text) {
    return std::to_string(IntegerIn(setting, text));
}

Value Boolean(Host&, const std::string& setting, std::string_view text) { return BooleanIn(setting, text); }

std::string BooleanCanonical(const std::string& setting, std::string_view text) {
    return BooleanIn(setting, text) ? "yes" : "no";
}

std::string Unchanged(const std::string&, std::string_view text) { return std::string(text); }

std::string ListCanonical(const std::string& setting, std::string_view text) {
    return ListText(NumbersIn(setting, text));
}

Value String(Host&, const std::string&, std::string_view text) { return host::TextValue(text); }

Value Vector(Host& host, const std::string& setting, std::string_view text) {
    static_cast<void>(NumbersIn(setting, text));  // throws for anything but numbers
    const Value list[] = {host::TextValue(text)};
    return host.CallShared("CIVectorQOR", "FromNumbers", list);
}

Value Color(Host& host, const std::string& setting, std::string_view text) {
    const std::array<double, 4> color = ColorIn(setting, text);
    const std::vector<Value> arguments(color.begin(), color.end());
    return host.CallShared("CIColorQOR", "RGBA", arguments);
}

std::string ColorCanonical(const std::string& setting, std::string_view text) {
    const std::array<double, 4> color = ColorIn(setting, text);
    const bool isOpaque = color[3] == 1;
    const std::string list = ListText(std::span(color).first(isOpaque ? 3 : 4));
    std::string digits = "#";
    for (std::size_t i = 0; i < (isOpaque ? 3 : 4); ++i) {
        if (!(color[i] >= 0 && color[i] <= 1)) return list;
        const auto byte = static_cast<unsigned>(std::lround(color[i] * 255));
        digits.append({"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]});
    }
    return FindColor(digits) == color ? digits : list;
}

Value Image(Host& host, const std::string&, std::string_view text) {
    const Value path[] = {host::TextValue(text)};
    return host.CallShared("CIImageQOR", "Open", path);
}

// x' = a x + c y + tx, y' = b x + d y + ty.
struct Affine {
    double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;

    // Applies this map first, then the next one.
    Affine Then(const Affine& next) const {
        return {next.a * a + next.c * b,
                next.b * a + next.d * b,
                next.a * c + next.c * d,
                next.b * c + next.d * d,
                next.a * tx + next.c * ty + next.tx,
                next.b * tx + next.d * ty + next.ty};
    }
};

// One step, "rotate:30".
Affine AffineStep(const std::string& setting, std::string_view text) {
    const std::size_t colon = text.find(':');
    const std::string_view name = text.substr(0, colon);
    const auto numbers =
        colon == std::string_view::npos ? std::vector<double>() : NumbersIn(setting, text.substr(colon + 1));
    if (name == "rotate" && numbers.size() == 1) {
        const double angle = numbers[0] * std::numbers::pi / 180;
        return {std::cos(angle), std::sin(angle), -std::sin(angle), std::cos(angle), 0, 0};
    }
    if (name == "scale" && (numbers.size() == 1 || numbers.size() == 2)) {
        return {numbers.front(), 0, 0, numbers.back(), 0, 0};
    }
    if (name == "translate" && numbers.size() == 2) return {1, 0, 0, 1, numbers[0], numbers[1]};
    throw HostError(setting, Quoted(text) +
                                 " is not a transform step, expected rotate:DEGREES, scale:S, scale:SX,SY or "
                                 "translate:X,Y, or six numbers and no steps");
}

// The steps of a transform, "rotate:30 scale:2"; none for six numbers.
std::vector<std::string_view> AffineSteps(std::string_view text) {
    std::vector<std::string_view> steps;
    if (text.find(':') == std::string_view::npos) return steps;
    for (std::string_view step : Split(text, ' ')) {
        if (!step.empty()) steps.push_back(step);
    }
    return steps;
}

Value Transform(Host& host, const std::string& setting, std::string_view text) {
    const std::array<double, 6> elements = TransformIn(setting, text);
    const std::vector<Value> arguments(elements.begin(), elements.end());
    return host.CallShared("NSAffineTransformQOR", "Make", arguments);
}

// Steps stay steps: the sine of an angle may differ between machines.
std::string TransformCanonical(const std::string& setting, std::string_view text) {
    const std::array<double, 6> elements = TransformIn(setting, text);
    std::string canonical;
    for (const std::string_view step : AffineSteps(text)) {
        const std::size_t colon = step.find(':');
        canonical += (canonical.empty() ? "" : " ") + std::string(step.substr(0, colon + 1)) +
                     ListCanonical(setting, step.substr(colon + 1));
    }
    return canonical.empty() ? ListText(elements) : canonical;
}

Value ColorSpace(Host& host, const std::string&, std::string_view text) {
    const Value name[] = {host::TextValue(text)};
    return host.CallShared("CGColorSpaceQOR", "Named", name);
}

// The floats of a file, in the byte order of this machine.
std::vector<float> RawFloats(const std::string& setting, const std::string& path) {
    constexpr std::size_t kLargestTable = 4 * sizeof(float) * kLargestCubeSize * kLargestCubeSize * kLargestCubeSize;
    std::ifstream file(path, std::ios::binary);
    std::string bytes(file ? kLargestTable + 1 : 0, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file && !file.eof()) throw HostError(setting, path + " cannot be read (" + host::SystemReason(errno) + ")");
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    if (bytes.size() > kLargestTable) {
        throw HostError(setting,
                        path + " has more than the " + std::to_string(kLargestTable) + " bytes of the largest cube");
    }
    if (bytes.empty() || bytes.size() % sizeof(float) != 0) {
        throw HostError(setting,
                        path + " has " + std::to_string(bytes.size()) + " bytes, 32-bit floats take a multiple of 4");
    }
    std::vector<float> floats(bytes.size() / sizeof(float));
    std::memcpy(floats.data(), bytes.data(), bytes.size());
    return floats;
}

Value Floats(Host&, const std::string& setting, std::string_view text) {
    std::vector<float> floats;
    if (text.starts_with('@')) {
        floats = RawFloats(setting, std::string(text.substr(1)));
    } else if (text.ends_with(".cube")) {
        floats = ReadCubeFile(std::string(text));
    } else {
        const std::vector<double> numbers = NumbersIn(setting, text);
        floats.assign(numbers.begin(), numbers.end());
    }
    host::ObjectReference block =
        host::NewMemoryBlockOf({reinterpret_cast<const char*>(floats.data()), floats.size() * sizeof(float)});
    if (!block) throw std::bad_alloc();
    return block;
}

// Where the path begins in the data of a color cube.
std::size_t PathOfFloats(std::string_view text) {
    if (text.starts_with('@')) return 1;
    return text.ends_with(".cube") ? 0 : std::string_view::npos;
}

std::string FloatsCanonical(const std::string& setting, std::string_view text) {
    return PathOfFloats(text) == std::string_view::npos ? ListCanonical(setting, text) : std::string(text);
}

// clang-format off
const struct {
    std::string_view typeWord;
    Value (*read)(Host& host, const std::string& setting, std::string_view text);
    std::string (*canonical)(const std::string& setting, std::string_view text);
} kTypes[] = {
    // type word              reader      canonical text
    {"double",                Number,     NumberCanonical},
    {"integer",               Integer,    IntegerCanonical},
    {"boolean",               Boolean,    BooleanCanonical},
    {"string",                String,     Unchanged},
    {"CIVectorQOR",           Vector,     ListCanonical},
    {"CIColorQOR",            Color,      ColorCanonical},
    {"CIImageQOR",            Image,      Unchanged},
    {"NSAffineTransformQOR",  Transform,  TransformCanonical},
    {"CGColorSpaceQOR",       ColorSpace, Unchanged},
    {"memoryblock",           Floats,     FloatsCanonical},
};
// clang-format on

const auto& RowOf(const host::Type& type, const std::string& setting) {
    const auto row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                  [&](const auto& each) { return each.typeWord == type.word; });
    if (row != std::end(kTypes)) return *row;
    throw HostError(setting, "a " + type.word + " cannot be written on the command line");
}

}  // namespace

Value SettingValue(Host& host, const host::Type& type, const std::string& setting, std::string_view text) {
    return RowOf(type, setting).read(host, setting, text);
}

std::string CanonicalValue(const host::Type& type, const std::string& setting, std::string_view text) {
    return RowOf(type, setting).canonical(setting, text);
}

std::size_t PathIn(const host::Type& type, std::string_view text) {
    if (type.word == "CIImageQOR") return 0;
    return type.word == "memoryblock" ? PathOfFloats(text) : std::string_view::npos;
}

// A color is a name or hexadecimal where it begins with a letter or #, and a list of components otherwise.
std::array<double, 4> ColorIn(const std::string& setting, std::string_view text) {
    if (const auto color = FindColor(text)) return *color;
    if (text.starts_with('#') || (!text.empty() && std::isalpha(static_cast<unsigned char>(text[0])) != 0)) {
        throw HostError(setting, Quoted(text) + " is not a color" + host::Suggestion(text, ColorNames()) +
                                     "; expected a name, #rgb, #rrggbb or #rrggbbaa");
    }
    std::vector<double> components = NumbersIn(setting, text);
    if (components.size() == 3) components.push_back(1);
    if (components.size() != 4) {
        throw HostError(setting, "a color has 3 or 4 components, got " + std::to_string(components.size()));
    }
    return {components[0], components[1], components[2], components[3]};
}

std::array<double, 6> TransformIn(const std::string& setting, std::string_view text) {
    if (text.find(':') == std::string_view::npos) {
        const std::vector<double> n = NumbersIn(setting, text);
        if (n.size() != 6) throw HostError(setting, "a transform has 6 numbers, got " + std::to_string(n.size()));
        return {n[0], n[1], n[2], n[3], n[4], n[5]};
    }
    Affine affine;
    for (const std::string_view step : AffineSteps(text)) affine = affine.Then(AffineStep(setting, step));
    return {affine.a, affine.b, affine.c, affine.d, affine.tx, affine.ty};
}

std::vector<std::string> KnownValues(const host::Type& type) {
    if (type.word == "CIColorQOR") return ColorNames();
    if (type.word == "CGColorSpaceQOR") {
        return {"sRGB",       "linearSRGB",       "extendedSRGB", "extendedLinearSRGB",  "displayP3", "adobeRGB1998",
                "genericRGB", "genericRGBLinear", "genericGray",  "genericGrayGamma2_2", "linearGray"};
    }
    if (type.word == "boolean") return {"yes", "no"};
    return {};
}

bool IsFileName(const host::Type& type) { return type.word == "CIImageQOR" || type.word == "memoryblock"; }

std::vector<double> NumbersIn(const std::string& subject, std::string_view text) {
    std::vector<double> numbers;
    for (std::string_view part : Split(text, ',')) numbers.push_back(NumberIn(subject, part));
    return numbers;
}
