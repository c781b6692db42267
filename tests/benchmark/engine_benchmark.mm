// engine_benchmark.mm - how long the engine takes for each operation, beside a plain copy of the same size in the same run.
//
// Names are "<size>/<operation>/<who>": "12 MP/gamma/engine". The copy is "12 MP/copy/memory": two threads read each byte of a
// picture of floats once and write it once. Everybody has two threads.

#import <Foundation/Foundation.h>
#include <benchmark/benchmark.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>

#include <cstring>

#include "pictures.h"
#include "rows.h"

namespace benchmarks {
namespace {

constexpr std::size_t kThreads = 2;

// Where results go. Its pages are there before anything is timed.
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

}  // namespace
}  // namespace benchmarks

int main(int count, char** arguments) {
    using namespace benchmarks;
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, kThreads);
    benchmark::Initialize(&count, arguments);
    Result();  // before the clock runs
    Register("12 MP/copy/memory", Copy);
    for (const Row& row : Rows()) {
        Register(row.name + "/engine", [render = row.render](benchmark::State& state) { Time(state, render); });
    }
    benchmark::RunSpecifiedBenchmarks();
    [pool drain];
    return 0;
}
