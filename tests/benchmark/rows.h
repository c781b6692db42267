// rows.h - the operations that are timed, and how the engine does each.
//
// A row is an image of filters, rendered into memory. Making the filters is part of what is timed, as a program that changes a
// value for each frame does it. Rows of filters that give no image are left out.
// Adding one: a function in rows.mm that makes the image, and a line in its table.
// Threads:    one; rendering uses two.

#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace benchmarks {

// One operation.
struct Row {
    std::string name;                      // "12 MP/gamma"
    std::size_t bytes;                     // of the result
    std::function<void(void* to)> render;  // into that many bytes
};

// Every operation whose filters render.
std::vector<Row> Rows();

}  // namespace benchmarks
