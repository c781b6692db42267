// CIInstructionSet.cpp - the instruction set that the engine uses on this processor, and how the engine's library
// starts.

#include "CIEngine.h"

#include <hwy/nanobenchmark.h>
#include <hwy/targets.h>

#include <cstdint>

namespace {

const struct {
    std::int64_t target;
    const char* name;
} kInstructionSets[] = {
    {HWY_AVX3_DL, "avx512"}, {HWY_AVX3, "avx512"}, {HWY_AVX2, "avx2"}, {HWY_SSE4, "sse4"}, {HWY_SSSE3, "ssse3"},
};

}  // namespace

const char* CIEngineInstructionSet() {
    // Highway uses the best of the targets that were compiled and that the processor supports. Better ones have lower
    // bits.
    const std::int64_t usable = hwy::SupportedTargets() & HWY_TARGETS;
    const std::int64_t best = usable & -usable;
    for (const auto& row : kInstructionSets) {
        if (row.target == best) return row.name;
    }
    return "none";
}

namespace hwy::platform {

// Replaces Highway's own function, which measures the resolution of its timer for 4 ms when the library is loaded.
// Only its benchmarks use that number.
__attribute__((visibility("default"))) std::uint64_t TimerResolution() { return 1; }

}  // namespace hwy::platform
