// enlarged.h - coarse images enlarged: pixels interpolated between samples that are a power of two apart.
//
// A sample lies in the middle of the square of pixels that it stands for; sample 0 stands for the pixels from 0 on.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/image.h"

namespace core_image {

// The samples from which a region is interpolated, when each pixel is made of so many in each direction.
Region SamplesFor(const Region& region, std::int64_t step, std::size_t taps);

// A stage of a coarse image, enlarged. For each of `step` pixels between two samples there are the weights of the
// samples around it: kLinearTaps or kGaussianTaps of them (weighted_sums.h).
std::unique_ptr<const Stage> MakeEnlargedStage(Prepared coarse, std::int64_t step,
                                               std::vector<std::vector<float>> weights);

}  // namespace core_image
