// CIEngine.cpp - passes the reason of a failure on.

#include "CIEngine.h"

#include "engine/failure.h"

const char* CIEngineFailure() { return core_image::LatestFailure(); }

void CIEngineForgetFailure() { core_image::ForgetFailure(); }
