// neutral_defaults.cpp - applies the filter to noise.

#include "host/description/neutral_defaults.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

#include "host/runtime/errors.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/string.h"

namespace {

using host::Host;
using host::ObjectReference;
using host::Value;

// Wide enough to reach beyond the default centers and radii, which are about 150.
constexpr std::int32_t kSide = 320;

// A picture of noise: of every color, and half of it transparent to some degree.
ObjectReference Noise(Host& host) {
    constexpr std::size_t kBytes = std::size_t{4} * kSide * kSide;
    ObjectReference block = host::NewMemoryBlock(static_cast<std::int32_t>(kBytes));
    auto* bytes = reinterpret_cast<ZEVAmemoryBlockStruct*>(block.Get())->bytes;
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < kBytes; ++i) {
        state = state * 1664525 + 1013904223;
        const bool isOpaque = i % 8 == 3;
        bytes[i] = isOpaque ? 255 : static_cast<unsigned char>(state >> 24);
    }
    const Value arguments[] = {block, kSide, kSide};
    return std::get<ObjectReference>(host.CallShared("CIImageQOR", "FromPixels", arguments));
}

// The extent of an image, as text, and its pixels inside a rectangle.
std::string Content(Host& host, const ObjectReference& image, const Value& rectangle) {
    const Value extent = host.Get(image.Get(), "Extent");
    const Value text = host.Get(std::get<ObjectReference>(extent).Get(), "Text");
    const Value pixels = host.Call(image.Get(), "Pixels", {&rectangle, 1});
    const Value bytes = host.Get(std::get<ObjectReference>(pixels).Get(), "Bytes");
    return std::get<host::StringReference>(text)->bytes + std::get<host::StringReference>(bytes)->bytes;
}

}  // namespace

bool ChangesNothingByDefault(Host& host, const host::Class& filter) {
    if (filter.FindMember("inputImage") == nullptr) return false;
    try {
        const ObjectReference picture = Noise(host);
        const ObjectReference object = host.Construct(filter.Name());
        host.Set(object.Get(), "inputImage", picture);
        const Value output = host.Get(object.Get(), "outputImage");
        const auto* result = std::get_if<ObjectReference>(&output);
        if (result == nullptr) return false;
        const Value extent = host.Get(picture.Get(), "Extent");
        return Content(host, *result, extent) == Content(host, picture, extent);
    } catch (const std::runtime_error&) {
        return false;  // a filter that fails does change something
    }
}
