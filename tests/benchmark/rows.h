// rows.h - the operations to time, and how the engine performs each.
//
// A row makes filters and renders their image to memory. Making the filters is timed too, because a program that
// changes a value for each frame does that as well; "64 x 64, rendering alone" leaves it out. Rows whose filters give
// no image are left out.
//
// Adding one: write a function in rows.mm that makes the image, and add a line to its table.
// Threads:    call from one thread; rendering uses those of the row.

#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace benchmarks {

// An operation to time.
struct Row {
    std::string name;                      // "12 MP/gamma"
    std::size_t bytes;                     // the size of the result
    std::function<void(void* to)> render;  // writes the result to that many bytes
    std::string filter = {};               // if the operation is a single one: "CIGammaAdjust"
    std::string note = {};                 // shown beside the row
    bool showsMemory = false;              // whether peak memory is shown, too
    std::size_t threads = 2;
};

// Returns every operation whose filters render.
[[nodiscard]] std::vector<Row> Rows();

}  // namespace benchmarks
