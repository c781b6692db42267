// rivals.h - the same operations done by other libraries, to be timed beside the engine.
//
// Each works on the same pictures (pictures.h) with the same numbers (parameters.h), on two threads, into memory that is there.
// A rival is timed only when its result is near enough to the engine's; see check.h.
// Adding one: a file with a function that is listed here. It is built only where all the libraries are installed; see
//             tools/setup.
// Threads: one at a time.

#pragma once

#include <functional>
#include <string>
#include <vector>

namespace benchmarks {

// One operation of one library.
struct Rival {
    std::string operation;  // the name of a row: "12 MP/gamma"
    std::string library;

    // Gets everything ready that a program would keep (compiled code, tables) and answers what does the operation, into the
    // memory of a result. Called when the rival is first needed.
    std::function<std::function<void(void* to)>()> prepare;
};

std::vector<Rival> OpenCVRivals();
std::vector<Rival> VipsRivals();
std::vector<Rival> GeglRivals();
std::vector<Rival> OpenColorIORivals();
std::vector<Rival> HalideRivals();

}  // namespace benchmarks
