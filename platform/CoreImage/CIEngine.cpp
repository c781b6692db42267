// CIEngine.cpp - passes on the reason of a failure and the memory limit.

#include "CIEngine.h"

#include "engine/engine.h"
#include "engine/failure.h"

const char* CIEngineFailure() { return core_image::LatestFailure(); }

void CIEngineForgetFailure() { core_image::ForgetFailure(); }

uint64_t CIEngineMemoryLimit() { return core_image::MemoryBudget::Default().Limit(); }

void CIEngineSetMemoryLimit(uint64_t bytes) { core_image::MemoryBudget::Default().SetLimit(bytes); }
