// picture_cache.cpp - renders a resized picture to numbers and makes an image of them.

#include "host/studio/picture_cache.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>

namespace studio {
namespace {

using host::Host;
using host::ObjectReference;
using host::Value;

constexpr std::uint64_t kBytesPerPixel = 4 * sizeof(float);

// What all pictures together may take, and one of them.
constexpr std::uint64_t kMostBytes = sizeof(void*) == 8 ? std::uint64_t{768} << 20 : std::uint64_t{320} << 20;
constexpr std::uint64_t kMostBytesOfPicture = kMostBytes / 2;

std::int64_t VersionOf(const std::string& path) {
    std::error_code error;
    return std::filesystem::last_write_time(path, error).time_since_epoch().count();
}

double ScaledSide(double side, double scale) { return std::max(std::round(side * scale), std::min(side, 2.0)); }

}  // namespace

std::array<double, 4> ExtentOf(Host& host, const Value& image) {
    const Value extent = host.Get(std::get<ObjectReference>(image).Get(), "Extent");
    std::array<double, 4> numbers;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const Value index[] = {static_cast<std::int32_t>(i)};
        numbers[i] = std::get<double>(host.Call(std::get<ObjectReference>(extent).Get(), "ValueAt", index));
    }
    return numbers;
}

Value PictureCache::Open(const std::string& path) {
    const Value file[] = {host::TextValue(path)};
    return host_.CallShared("CIImageQOR", "Open", file);
}

PictureCache::Picture& PictureCache::Entry(const std::string& path, double scale) {
    const std::int64_t version = VersionOf(path);
    const auto found = std::ranges::find_if(pictures_, [&](const Picture& each) {
        return each.path == path && each.version == version && each.scale == scale;
    });
    if (found != pictures_.end()) {
        pictures_.splice(pictures_.begin(), pictures_, found);
        return pictures_.front();
    }
    std::erase_if(pictures_, [&](const Picture& each) { return each.path == path && each.version != version; });
    Value image = Open(path);
    const auto [x, y, fullWidth, fullHeight] = ExtentOf(host_, image);
    const double width = ScaledSide(fullWidth, scale);
    const double height = ScaledSide(fullHeight, scale);
    const auto pixels = static_cast<std::uint64_t>(width * height);
    std::uint64_t bytes = 0;
    if (pixels * kBytesPerPixel <= kMostBytesOfPicture) {
        bytes = pixels * kBytesPerPixel;
        const auto columns = static_cast<std::int32_t>(width);
        const auto rows = static_cast<std::int32_t>(height);
        if (width != fullWidth || height != fullHeight) {
            const Value size[] = {columns, rows, host::TextValue("stretch")};
            image = host_.Call(std::get<ObjectReference>(image).Get(), "Resized", size);
        }
        const Value frame[] = {x, y, width, height};
        const Value rectangle[] = {host_.CallShared("CIVectorQOR", "Rectangle", frame)};
        const Value values[] = {host_.Call(std::get<ObjectReference>(image).Get(), "Values", rectangle), columns, rows};
        image = host_.CallShared("CIImageQOR", "FromValues", values);
    }
    pictures_.push_front({path, version, scale, {fullWidth, fullHeight}, image, bytes});
    std::uint64_t total = 0;
    for (auto each = pictures_.begin(); each != pictures_.end();) {
        total += each->bytes;
        each = total > kMostBytes ? pictures_.erase(each) : std::next(each);
    }
    return pictures_.front();
}

PictureSize PictureCache::SizeOf(const std::string& path) {
    const auto found = std::ranges::find_if(pictures_, [&](const Picture& each) { return each.path == path; });
    if (found != pictures_.end() && found->version == VersionOf(path)) return found->fullSize;
    const auto extent = ExtentOf(host_, Open(path));
    return {extent[2], extent[3]};
}

Value PictureCache::At(const std::string& path, double scale) { return Entry(path, std::min(scale, 1.0)).image; }

}  // namespace studio
