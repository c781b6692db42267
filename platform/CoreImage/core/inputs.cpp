// inputs.cpp - reads inputs by key and makes numbers finite.

#include "core/inputs.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/transfer.h"

namespace core_image {
namespace {

// A finite number; 0 for NaN.
double Finite(double value) { return std::isnan(value) ? 0 : std::clamp(value, -kLargestNumber, kLargestNumber); }

}  // namespace

float FiniteFloat(double value) { return static_cast<float>(Finite(value)); }

const InputValue& Inputs::Find(std::string_view key) const {
    const InputValue* end = values_ + count_;
    const InputValue* found = std::find_if(values_, end, [&](const InputValue& value) { return value.key == key; });
    if (found == end) throw UndeclaredKey(key);
    return *found;
}

double Inputs::GetNumber(std::string_view key) const { return Finite(Find(key).number); }

double Inputs::GetElement(std::string_view key, std::size_t index) const {
    const InputValue& value = Find(key);
    return value.elements == nullptr || index >= value.count ? 0 : Finite(value.elements[index]);
}

Extent Inputs::GetRectangle(std::string_view key) const {
    const InputValue& value = Find(key);
    double edges[4] = {};
    if (value.elements != nullptr) std::copy_n(value.elements, std::min<std::size_t>(value.count, 4), edges);
    return ExtentOfRectangle(edges[0], edges[1], edges[2], edges[3]);
}

Pixel Inputs::GetColor(std::string_view key) const {
    const double components[] = {GetElement(key, 0), GetElement(key, 1), GetElement(key, 2), GetElement(key, 3)};
    return PixelOfColor(components);
}

std::shared_ptr<const float> Inputs::GetFloats(std::string_view key, std::size_t count) const {
    const InputValue& value = Find(key);
    if (value.bytes == nullptr || value.count / sizeof(float) < count) return nullptr;
    const BytesOwner owner = value.owner;
    if (owner.object != nullptr) owner.retain(owner.object);
    return {static_cast<const float*>(value.bytes), [owner](const float*) {
                if (owner.object != nullptr) owner.release(owner.object);
            }};
}

ColorSpace Inputs::GetSpace(std::string_view key) const { return Find(key).space; }

Profile Inputs::GetProfile(std::string_view key) const {
    const InputValue& value = Find(key);
    return {value.bytes, value.count};
}

ImageRef Inputs::GetImage(std::string_view key) const {
    const InputValue& value = Find(key);
    return value.image == nullptr ? nullptr : *value.image;
}

Pixel PixelOfColor(const double* components) {
    const double alpha = Finite(components[3]);
    const auto light = [&](double component) {
        return static_cast<float>(DecodeSRGB(static_cast<float>(Finite(component))) * alpha);
    };
    return {light(components[0]), light(components[1]), light(components[2]), static_cast<float>(alpha)};
}

Extent ExtentOfRectangle(double x, double y, double width, double height) {
    const auto edge = [](double value) {
        return std::abs(value) > kLargestNumber ? std::copysign(std::numeric_limits<double>::infinity(), value) : value;
    };
    return Extent{std::floor(edge(std::min(x, x + width))), std::floor(edge(std::min(y, y + height))),
                  std::ceil(edge(std::max(x, x + width))), std::ceil(edge(std::max(y, y + height)))}
        .Intersection(Extent::Infinite());
}

}  // namespace core_image
