// picture_cache.h - the pictures of the studio in the sizes that its previews need, in memory.
//
// A preview renders the same picture many times a second, so it is decoded and resized once. Pixels are kept as the
// filters compute them, without a loss. A picture that would take too much memory is decoded each time instead.
//
// Lifetime: owns what it keeps, up to a limit; the least recently used goes first. A file that changes is read again.
// Failure:  HostException for a file that is not a picture, or is damaged.
// Threads:  the host's thread.

#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <string>

#include "host/runtime/host.h"

namespace studio {

struct PictureSize {
    double width;
    double height;
};

class PictureCache {
  public:
    explicit PictureCache(host::Host& host) : host_(host) {}

    // Opens a file, without keeping anything.
    [[nodiscard]] host::Value Open(const std::string& path);

    // Returns the size of a picture.
    [[nodiscard]] PictureSize SizeOf(const std::string& path);

    // Returns a picture at a scale of at most 1. A side keeps at least two pixels, or as many as it has: what is
    // smaller is a table of colors, whose size does not matter.
    [[nodiscard]] host::Value At(const std::string& path, double scale);

  private:
    struct Picture {
        std::string path;
        std::int64_t version;  // changes with the file
        double scale;
        PictureSize fullSize;
        host::Value image;
        std::uint64_t bytes;
    };

    // The entry, moved to the front; made when it is missing.
    Picture& Entry(const std::string& path, double scale);

    host::Host& host_;
    std::list<Picture> pictures_;  // the most recently used first
};

// Returns the four numbers of an image's extent.
[[nodiscard]] std::array<double, 4> ExtentOf(host::Host& host, const host::Value& image);

}  // namespace studio
