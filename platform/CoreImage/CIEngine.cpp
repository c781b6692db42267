// CIEngine.cpp - passes on the reason of a failure, the memory limit and the limit of threads.

#include "CIEngine.h"

#include <tbb/global_control.h>

#include <cstddef>
#include <memory>

#include "engine/engine.h"
#include "engine/failure.h"

const char* CIEngineFailure() { return core_image::LatestFailure(); }

void CIEngineForgetFailure() { core_image::ForgetFailure(); }

uint64_t CIEngineMemoryLimit() { return core_image::MemoryBudget::Default().Limit(); }

void CIEngineSetMemoryLimit(uint64_t bytes) { core_image::MemoryBudget::Default().SetLimit(bytes); }

void CIEngineSetThreads(int threads) {
    static std::unique_ptr<tbb::global_control> control;
    control = std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism,
                                                    static_cast<std::size_t>(threads));
}
