// neutral_defaults.h - whether a filter changes a picture before any of its other keys is set.
//
// Measured instead of listed, so it holds for the filters of any module.
//
// Threads: the host's. Rendering starts threads, so this process can no longer fork workers.

#pragma once

#include "host/runtime/host.h"

// Whether the filter returns a picture unchanged at its defaults, pixel by pixel. False for a filter that takes no
// picture or needs more than a picture.
[[nodiscard]] bool ChangesNothingByDefault(host::Host& host, const host::Class& filter);
