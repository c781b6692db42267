// growth_rows.h - how time and memory grow with the size of a picture, the length of a chain, and fewer threads.
//
// Names:    "growth/<operation>/<megapixels>", "chain/<step>/<steps>" and "threads/<operation>/<threads>".
// Pictures: sRGB bytes, which are decoded, worked on in light and encoded, so that 100 megapixels fit into 32 bits.
// Threads:  one at a time.

#pragma once

#include <vector>

#include "rows.h"

namespace benchmarks {

[[nodiscard]] std::vector<Row> GrowthRows();

}  // namespace benchmarks
