// version.h - what the module knows about its host: three variables, written once by ZEVAPluginMain.
//
// Lifetime: the process. Threads: written on the host's loading thread before any other code of the module runs.

#pragma once

#include <cstdint>

#include "interface/entry_point.h"

// The host's resolver, asked for every service.
extern ZEVAresolver gResolver;

// The version that the host reports, 2013.03 for example; 0.0 when it reports none.
extern double zvversion;

// The version of the class records that this host reads: 9, 10, 11 or 12.
extern std::int32_t CurrentZEVAControlVersion;

// The newest record version that a host of this version reads. NaN counts as the oldest host.
[[nodiscard]] std::int32_t RecordVersionFor(double hostVersion);

// Whether a host of this version gets no classes.
[[nodiscard]] bool IsSkippedHost(double hostVersion);

// The number truncated toward zero; INT32_MIN when the result does not fit in 32 bits, and for NaN.
[[nodiscard]] std::int32_t TruncatedToInt32(double number);
