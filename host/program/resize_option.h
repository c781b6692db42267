// resize_option.h - the option --resize of "zeva apply", shorthand for a last step CIImageQOR.Resized.
//
//   1024        the longer side, in proportion; with --fill a square
//   1024x768    exactly this size; with --fit in proportion within it, with --fill in proportion over it, cut off
//   50%         both sides, in proportion
//
// Threads: the host's thread.

#pragma once

#include <cstdint>
#include <string>

#include "host/runtime/host.h"

struct ResizeOption {
    double scale = 0;  // of both sides; 0 for a size in pixels
    std::int32_t width = 0, height = 0;
    std::string mode;  // of CIImageQOR.Resized
};

// Reads the option and the flags that go with it. Throws UsageError for any other text, and for a flag that does not go
// with it.
[[nodiscard]] ResizeOption ReadResize(const std::string& text, bool isFit, bool isFill);

// Calls Resized on an image whose extent has a size. Stores the call as text: "Resized width=1024 height=768 mode=fit".
//
// Fails: HostException when the image cannot be resized.
[[nodiscard]] host::ObjectReference Resized(host::Host& host, const ResizeOption& option,
                                            const host::ObjectReference& image, double width, double height,
                                            std::string* step);
