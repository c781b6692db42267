// version.h - what the module knows of its host: three words written once, by ZEVAPluginMain.
//
// Lifetime: the process. Threads: written on the host's loading thread before any other code of the module runs.

#pragma once

#include "plugin/zeva.h"

// The host's resolver, asked for every service.
extern ZEVAresolver gResolver;

// The host's version as it reports it (2013.03, say); 0.0 when it reports none.
extern double zvversion;

// The layout of class records that this host reads: 9, 10, 11 or 12.
extern std::int32_t CurrentZEVAControlVersion;

// The record version that goes with a host version: the newest that such a host reads. NaN counts as the oldest host.
std::int32_t RecordVersionFor(double hostVersion);

// Whether a host of this version gets no classes at all.
bool IsSkippedHost(double hostVersion);

// The number without its fraction, or INT32_MIN when that does not fit 32 bits (or the number is NaN).
std::int32_t TruncatedToInt32(double number);
