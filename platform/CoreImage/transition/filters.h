// filters.h - the family of filters that go from inputImage to inputTargetImage while inputTime goes from 0 to 1.
//
// All reach over both images. At time 0 and before the result is inputImage, at time 1 and after it is
// inputTargetImage, to the last bit. Where one of the needed images is missing there is none.
//
// Adding one: a function in this folder, named as the filter is without "CI", and a line in the list.

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
