// setting_value.cpp - one reader per type word of a key.

#include "host/recipe/setting_value.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <new>
#include <numbers>
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

Value Number(Host&, const std::string& setting, std::string_view text) { return NumberIn(setting, text); }

Value Integer(Host&, const std::string& setting, std::string_view text) {
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw HostError(setting, Quoted(text) + " is not a whole number");
    }
    return number;
}

Value Boolean(Host&, const std::string& setting, std::string_view text) {
    if (text == "yes" || text == "true") return true;
    if (text == "no" || text == "false") return false;
    throw HostError(setting, Quoted(text) + " is neither yes nor no");
}

Value String(Host&, const std::string&, std::string_view text) { return host::TextValue(text); }

Value Vector(Host& host, const std::string& setting, std::string_view text) {
    static_cast<void>(NumbersIn(setting, text));  // throws for anything but numbers
    const Value list[] = {host::TextValue(text)};
    return host.CallShared("CIVectorQOR", "FromNumbers", list);
}

// A color is a name or hexadecimal where it begins with a letter or #, and a list of components otherwise.
Value Color(Host& host, const std::string& setting, std::string_view text) {
    std::vector<double> components;
    if (const auto color = FindColor(text)) {
        components.assign(color->begin(), color->end());
    } else if (text.starts_with('#') || (!text.empty() && std::isalpha(static_cast<unsigned char>(text[0])) != 0)) {
        throw HostError(setting, Quoted(text) + " is not a color" + host::Suggestion(text, ColorNames()) +
                                     "; expected a name, #rgb, #rrggbb or #rrggbbaa");
    } else {
        components = NumbersIn(setting, text);
    }
    if (components.size() == 3) components.push_back(1);
    if (components.size() != 4) {
        throw HostError(setting, "a color has 3 or 4 components, got " + std::to_string(components.size()));
    }
    const std::vector<Value> arguments(components.begin(), components.end());
    return host.CallShared("CIColorQOR", "RGBA", arguments);
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

Value Transform(Host& host, const std::string& setting, std::string_view text) {
    Affine affine;
    if (text.find(':') == std::string_view::npos) {
        const std::vector<double> n = NumbersIn(setting, text);
        if (n.size() != 6) throw HostError(setting, "a transform has 6 numbers, got " + std::to_string(n.size()));
        affine = {n[0], n[1], n[2], n[3], n[4], n[5]};
    } else {
        for (std::string_view step : Split(text, ' ')) {
            if (!step.empty()) affine = affine.Then(AffineStep(setting, step));
        }
    }
    const Value elements[] = {affine.a, affine.b, affine.c, affine.d, affine.tx, affine.ty};
    return host.CallShared("NSAffineTransformQOR", "Make", elements);
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

// clang-format off
const struct {
    std::string_view typeWord;
    Value (*read)(Host& host, const std::string& setting, std::string_view text);
} kReaders[] = {
    // type word              reader
    {"double",                Number},
    {"integer",               Integer},
    {"boolean",               Boolean},
    {"string",                String},
    {"CIVectorQOR",           Vector},
    {"CIColorQOR",            Color},
    {"CIImageQOR",            Image},
    {"NSAffineTransformQOR",  Transform},
    {"CGColorSpaceQOR",       ColorSpace},
    {"memoryblock",           Floats},
};
// clang-format on

}  // namespace

Value SettingValue(Host& host, const host::Type& type, const std::string& setting, std::string_view text) {
    for (const auto& reader : kReaders) {
        if (reader.typeWord == type.word) return reader.read(host, setting, text);
    }
    throw HostError(setting, "a " + type.word + " cannot be written on the command line");
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
