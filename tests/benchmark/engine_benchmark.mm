// engine_benchmark.mm - times each operation of the engine, and a plain copy of the same size in the same run.
//
// Names are "<size>/<operation>/<library>", for example "12 MP/gamma/engine". The copy is "12 MP/copy/memory": two
// threads read each byte of a picture of floats once and write it once. All contestants use two threads. When built
// with ZEVA_RIVALS, other libraries run the same operations. Each is checked against the engine before it is timed.

#import <Foundation/Foundation.h>
#include <benchmark/benchmark.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pictures.h"
#include "rows.h"
#ifdef ZEVA_RIVALS
#include "rivals/check.h"
#include "rivals/rivals.h"
#endif

namespace benchmarks {
namespace {

constexpr std::size_t kThreads = 2;

// The buffer for results. Its pages are allocated before anything is timed.
std::vector<float>& Result() {
    static std::vector<float> memory(kWidth * kHeight * kChannels);
    return memory;
}

void Copy(benchmark::State& state) {
    const std::size_t half = First().pixels.size() / kThreads;
    for (auto _ : state) {
        tbb::parallel_for<std::size_t>(0, kThreads, [&](std::size_t index) {
            std::memcpy(&Result()[index * half], &First().pixels[index * half], half * sizeof(float));
        });
        benchmark::ClobberMemory();
    }
}

void Time(benchmark::State& state, const std::function<void(void*)>& render) {
    for (auto _ : state) {
        render(Result().data());
        benchmark::ClobberMemory();
    }
}

void Register(const std::string& name, const std::function<void(benchmark::State&)>& function) {
    const bool isLarge = name.compare(0, 2, "12") == 0;
    benchmark::RegisterBenchmark(name.c_str(), function)
        ->UseRealTime()
        ->Unit(isLarge ? benchmark::kMillisecond : benchmark::kMicrosecond);
}

#ifdef ZEVA_RIVALS
// Registers a rival. It is timed only if its result matches the engine's; otherwise the error says how they differ.
void RegisterRival(const std::vector<Row>& rows, const Rival& rival) {
    const auto row =
        std::find_if(rows.begin(), rows.end(), [&](const Row& one) { return one.name == rival.operation; });
    if (row == rows.end()) return;
    struct Checked {
        std::function<void(void*)> render;
        std::string difference;
    };
    auto checked = std::make_shared<std::optional<Checked>>();
    Register(rival.operation + "/" + rival.library, [&row = *row, rival, checked](benchmark::State& state) {
        if (!checked->has_value()) {
            std::vector<std::byte> ours(row.bytes);
            row.render(ours.data());
            *checked = Checked{rival.prepare(), ""};
            (*checked)->render(Result().data());
            (*checked)->difference = DifferenceOf(row.name, ours.data(), Result().data(), row.bytes);
        }
        if (!(*checked)->difference.empty()) return state.SkipWithError((*checked)->difference.c_str());
        Time(state, (*checked)->render);
    });
}
#endif

}  // namespace
}  // namespace benchmarks

int main(int count, char** arguments) {
    using namespace benchmarks;
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, kThreads);
    benchmark::Initialize(&count, arguments);
    Result();  // allocate before timing
    Register("12 MP/copy/memory", Copy);
    const std::vector<Row> rows = Rows();
    for (const Row& row : rows) {
        Register(row.name + "/engine", [&row](benchmark::State& state) { Time(state, row.render); });
    }
#ifdef ZEVA_RIVALS
    for (auto* rivals : {OpenCVRivals, VipsRivals, GeglRivals, OpenColorIORivals, HalideRivals}) {
        for (const Rival& rival : rivals()) RegisterRival(rows, rival);
    }
#endif
    benchmark::RunSpecifiedBenchmarks();
    [pool drain];
    return 0;
}
