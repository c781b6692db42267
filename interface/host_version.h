// host_version.h - what a host's version number decides: the record version that it reads, and whether it gets classes.
//
// Versions are doubles, as ZEVAGetZVVersion returns them. A host without that service counts as version 0.0.

#pragma once

#include <cstdint>

#include "interface/record_version.h"

// The first host version that reads a record version.
struct ZEVAversionStep {
    double hostVersion;
    std::int32_t recordVersion;
};

// Newest first. A host reads the record version of the first row that its own version reaches (>=, compared as
// doubles), and kOldestRecordVersion when it reaches none, as NaN does not.
inline constexpr ZEVAversionStep kVersionSteps[] = {
    {2013.03, kNewestRecordVersion},
    {2013.0, 11},
    {2012.0, 10},
};

// The first version of the newest hosts.
inline constexpr double kNewestHostVersion = kVersionSteps[0].hostVersion;

// Hosts 2007.009, 2007.010 and 2007.011 load a module but get no classes. In thousandths, truncated, they are
// consecutive numbers.
inline constexpr std::uint32_t kFirstSkippedHost = 2007009;
inline constexpr std::uint32_t kSkippedHosts = 3;
