// rivals.h - the same operations in other libraries, timed beside the engine.
//
// Each rival uses the same pictures (pictures.h) and parameters (parameters.h), two threads, and preallocated memory.
// A rival is timed only when its result matches the engine's; see check.h.
//
// Adding one: write a file with a function, declare it here, and call it in engine_benchmark.mm. Rivals are built only
//             where all of the libraries are installed; see tools/setup.
// Threads:    one at a time.

#pragma once

#include <functional>
#include <string>
#include <vector>

namespace benchmarks {

// One operation of one library.
struct Rival {
    std::string operation;  // the name of a row: "12 MP/gamma"
    std::string library;

    // Prepares everything that a program would keep (compiled code, tables). Returns the function that performs the
    // operation and writes its result to memory. Called when the rival is first needed.
    std::function<std::function<void(void* to)>()> prepare;
};

// Return the operations of each library.
[[nodiscard]] std::vector<Rival> OpenCVRivals();
[[nodiscard]] std::vector<Rival> VipsRivals();
[[nodiscard]] std::vector<Rival> GeglRivals();
[[nodiscard]] std::vector<Rival> OpenColorIORivals();
[[nodiscard]] std::vector<Rival> HalideRivals();

}  // namespace benchmarks
