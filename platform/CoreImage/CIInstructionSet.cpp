// CIInstructionSet.cpp - the instruction set that the engine uses on this processor, and how the engine's library
// starts.

#include "CIEngine.h"

#include <hwy/nanobenchmark.h>
#include <hwy/targets.h>

#include <cstdint>
#include <cstring>

namespace {

// From the newest to the oldest. What every processor of the target has is the last one, whatever Highway calls it.
const struct {
    std::int64_t targets;
    const char* name;
} kInstructionSets[] = {
    {HWY_AVX3_DL | HWY_AVX3, "avx512"},
    {HWY_AVX2, "avx2"},
    {HWY_SSE4, "sse4"},
    {HWY_STATIC_TARGET, "sse2"},
};

// The targets that were compiled and that the processor supports.
std::int64_t Usable() { return hwy::SupportedTargets() & HWY_TARGETS; }

}  // namespace

const char* CIEngineInstructionSet() {
    // Highway uses the best one. Better ones have lower bits.
    const std::int64_t best = Usable() & -Usable();
    for (const auto& row : kInstructionSets) {
        if ((row.targets & best) != 0) return row.name;
    }
    return "unknown";
}

int CIEngineSetInstructionSet(const char* name) {
    std::int64_t newer = 0;
    for (const auto& row : kInstructionSets) {
        if (std::strcmp(row.name, name) == 0) {
            if ((Usable() & row.targets) == 0) return 0;
            if (newer != 0) hwy::DisableTargets(newer);
            return 1;
        }
        newer |= row.targets;
    }
    return 0;
}

namespace hwy::platform {

// Replaces Highway's own function, which measures the resolution of its timer for 4 ms when the library is loaded.
// Only its benchmarks use that number.
__attribute__((visibility("default"))) std::uint64_t TimerResolution() { return 1; }

}  // namespace hwy::platform
