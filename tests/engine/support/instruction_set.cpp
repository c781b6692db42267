// instruction_set.cpp - lets the tests run with an older instruction set than the processor's best: sse2, sse4 or avx2
// in ZEVA_INSTRUCTION_SET. Kernels choose theirs at their first call, and so before any test.

#include <hwy/highway.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

// Better instruction sets have lower bits.
void UseAtMost(std::int64_t target) { hwy::DisableTargets(target - 1); }

[[maybe_unused]] const bool isPinned = [] {
    const char* const name = std::getenv("ZEVA_INSTRUCTION_SET");
    if (name == nullptr) return false;
    if (name == std::string_view("sse2")) {
        UseAtMost(HWY_STATIC_TARGET);  // whatever Highway calls it
    } else if (name == std::string_view("sse4")) {
        UseAtMost(HWY_SSE4);
    } else if (name == std::string_view("avx2")) {
        UseAtMost(HWY_AVX2);
    } else {
        std::fprintf(stderr, "ZEVA_INSTRUCTION_SET: '%s' is not sse2, sse4 or avx2\n", name);
        std::abort();
    }
    return true;
}();

}  // namespace
