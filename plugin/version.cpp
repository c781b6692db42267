// version.cpp - how a host version is read.

#include "plugin/version.h"

#include <limits>

ZEVAresolver gResolver = nullptr;
double zvversion = 0.0;
std::int32_t CurrentZEVAControlVersion = kRecordVersion;

std::int32_t RecordVersionFor(double hostVersion) {
    if (hostVersion >= 2013.03) return 12;
    if (hostVersion >= 2013.0) return 11;
    if (hostVersion >= 2012.0) return 10;
    return 9;
}

bool IsSkippedHost(double hostVersion) {
    // Hosts 2007.009, 2007.010 and 2007.011 may load the module but get no classes. In thousandths the three are
    // consecutive, so one unsigned difference finds them and no neighbor.
    const auto thousandths = static_cast<std::uint32_t>(TruncatedToInt32(hostVersion * 1000.0));
    return thousandths - 2007009u < 3u;
}

std::int32_t TruncatedToInt32(double number) {
    constexpr double kBelowSmallest = -2147483649.0;  // exact as doubles, unlike their float neighbors
    constexpr double kAboveLargest = 2147483648.0;
    const bool fits = number > kBelowSmallest && number < kAboveLargest;  // false for NaN
    return fits ? static_cast<std::int32_t>(number) : std::numeric_limits<std::int32_t>::min();
}
