// transition.h - the family of filters that go from inputImage to inputTargetImage while inputTime goes from 0 to 1.
//
// All reach over both images. At time 0 and before the result is inputImage, at time 1 and after it is
// inputTargetImage, to the last bit. Where one of the needed images is missing there is none.

#pragma once

#include "core/inputs.h"

namespace core_image {

// CIBarsSwipeTransition: the image is cut into bars that slide away one after another.
ImageRef BarsSwipeTransition(const Inputs& inputs);

// CICopyMachineTransition: a strip of light sweeps over inputExtent and leaves the target behind.
ImageRef CopyMachineTransition(const Inputs& inputs);

// CIDisintegrateWithMaskTransition: the image goes where inputMaskImage is darker than the time, and casts a shadow.
ImageRef DisintegrateWithMaskTransition(const Inputs& inputs);

// CIDissolveTransition: the one fades into the other.
ImageRef DissolveTransition(const Inputs& inputs);

// CIFlashTransition: light bursts from inputCenter over the image and fades to the target.
ImageRef FlashTransition(const Inputs& inputs);

}  // namespace core_image
