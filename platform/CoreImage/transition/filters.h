// filters.h - filters that go from inputImage to inputTargetImage while inputTime goes from 0 to 1.
//
// Each covers the extents of both images. At time 0 and earlier the result is exactly inputImage, at time 1 and
// later exactly inputTargetImage. Without one of the needed images there is no result.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define TRANSITION_FILTERS(FILTER)         \
    FILTER(BarsSwipeTransition)            \
    FILTER(CopyMachineTransition)          \
    FILTER(DisintegrateWithMaskTransition) \
    FILTER(DissolveTransition)             \
    FILTER(FlashTransition)

namespace core_image {

TRANSITION_FILTERS(DECLARE_FILTER)

}  // namespace core_image
