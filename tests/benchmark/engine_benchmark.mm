// engine_benchmark.mm - times each operation of the engine, and a plain copy of the same size in the same run.
//
// Names are "<size>/<operation>/<library>", for example "12 MP/gamma/engine". The copy is "12 MP/copy/memory": two
// threads read each byte of a picture of floats once and write it once (unit.h). "12 MP/copy/memcpy" is the same with
// the C library's function. All contestants use two threads. When built with ZEVA_RIVALS, other libraries run the same
// operations. Each is checked against the engine before it is timed.
//
// The label of a benchmark is the row's note. "peak_bytes" is how much memory it needed beyond its pictures and result.

#import <Foundation/Foundation.h>
#include <benchmark/benchmark.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/scalable_allocator.h>

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pictures.h"
#include "rows.h"
#include "unit.h"
#ifdef ZEVA_RIVALS
#include "rivals/check.h"
#include "rivals/rivals.h"
#endif

namespace benchmarks {
namespace {

constexpr std::size_t kThreads = 2;

// Returns the buffer for a result. Its pages are allocated before anything is timed.
float* Result(std::size_t bytes = kWidth * kHeight * kChannels * sizeof(float)) {
    static std::vector<float> memory;
    memory.resize(std::max(memory.size(), bytes / sizeof(float) + 1));
    return memory.data();
}

using CopyFunction = void(const float* from, std::size_t count, float* to);

void CopyThroughLibrary(const float* from, std::size_t count, float* to) {
    std::memcpy(to, from, count * sizeof(float));
}

void Copy(benchmark::State& state, CopyFunction* copy) {
    const std::size_t half = First().pixels.size() / kThreads;
    float* const to = Result();
    for (auto _ : state) {
        tbb::parallel_for<std::size_t>(
            0, kThreads, [&](std::size_t index) { copy(&First().pixels[index * half], half, &to[index * half]); });
        benchmark::ClobberMemory();
    }
}

// Reads a line of the process's state, such as "VmRSS", in bytes.
double MemoryOf(const std::string& line) {
    std::ifstream status("/proc/self/status");
    for (std::string name; status >> name;) {
        double kilobytes = 0;
        if (name == line + ":" && status >> kilobytes) return kilobytes * 1024;
    }
    return 0;
}

// Gives unused memory back to the system, forgets the peak so far, and returns what is in use.
double MemoryBefore() {
    scalable_allocation_command(TBBMALLOC_CLEAN_ALL_BUFFERS, nullptr);
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
    return MemoryOf("VmRSS");
}

void Time(benchmark::State& state, const std::function<void(void*)>& render, void* to) {
    for (auto _ : state) {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        render(to);
        [pool drain];
        benchmark::ClobberMemory();
    }
}

void TimeRow(benchmark::State& state, const Row& row) {
    const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, row.threads);
    state.SetLabel(row.note);
    void* const to = Result(row.bytes);
    if (!row.showsMemory) {
        Time(state, row.render, to);
        return;
    }
    row.render(to);  // makes the pictures
    const double before = MemoryBefore();
    Time(state, row.render, to);
    state.counters["peak_bytes"] = MemoryOf("VmHWM") - before;
}

void Register(const std::string& name, const std::function<void(benchmark::State&)>& function) {
    benchmark::RegisterBenchmark(name.c_str(), function)
        ->UseRealTime()
        ->Unit(name.starts_with("64 x 64") ? benchmark::kMicrosecond : benchmark::kMillisecond);
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
            (*checked)->render(Result());
            (*checked)->difference = DifferenceOf(row.name, ours.data(), Result(), row.bytes);
        }
        if (!(*checked)->difference.empty()) return state.SkipWithError((*checked)->difference.c_str());
        Time(state, (*checked)->render, Result());
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
    Register("12 MP/copy/memory", [](benchmark::State& state) { Copy(state, CopyPastCaches); });
    Register("12 MP/copy/memcpy", [](benchmark::State& state) { Copy(state, CopyThroughLibrary); });
    const std::vector<Row> rows = Rows();
    for (const Row& row : rows) {
        Register(row.name + "/engine", [&row](benchmark::State& state) { TimeRow(state, row); });
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
