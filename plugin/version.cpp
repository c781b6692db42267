// version.cpp - what a host's version number decides.

#include "plugin/version.h"

#include <limits>

#include "interface/host_version.h"
#include "interface/record_version.h"

ZEVAresolver gResolver = nullptr;
double zvversion = 0.0;
std::int32_t CurrentZEVAControlVersion = kNewestRecordVersion;

std::int32_t RecordVersionFor(double hostVersion) {
    for (const ZEVAversionStep& step : kVersionSteps) {
        if (hostVersion >= step.hostVersion) return step.recordVersion;
    }
    return kOldestRecordVersion;
}

bool IsSkippedHost(double hostVersion) {
    // The skipped versions are consecutive in thousandths, so one unsigned difference matches all of them and no
    // neighbor.
    const auto thousandths = static_cast<std::uint32_t>(TruncatedToInt32(hostVersion * 1000.0));
    return thousandths - kFirstSkippedHost < kSkippedHosts;
}

std::int32_t TruncatedToInt32(double number) {
    constexpr double kBelowSmallest = -2147483649.0;  // exact as doubles, unlike the neighboring floats
    constexpr double kAboveLargest = 2147483648.0;
    const bool fits = number > kBelowSmallest && number < kAboveLargest;  // false for NaN
    return fits ? static_cast<std::int32_t>(number) : std::numeric_limits<std::int32_t>::min();
}
