// opencolorio.cpp - OpenColorIO: the color cube. A call uses one thread, so each thread calls it for its own rows.

#include <OpenColorIO/OpenColorIO.h>
#include <tbb/parallel_for.h>

#include <cstddef>
#include <functional>
#include <vector>

#include "../parameters.h"
#include "rivals.h"

namespace benchmarks {
namespace {

namespace ocio = OCIO_NAMESPACE;

std::function<void(void*)> CubeOf(const Picture& picture) {
    const auto edge = static_cast<unsigned long>(kCubeEdge);
    const ocio::Lut3DTransformRcPtr cube = ocio::Lut3DTransform::Create(edge);
    cube->setInterpolation(ocio::INTERP_LINEAR);
    for (unsigned long red = 0; red < edge; ++red) {
        for (unsigned long green = 0; green < edge; ++green) {
            for (unsigned long blue = 0; blue < edge; ++blue) {
                const float* texel = &Cube()[4 * (red + edge * (green + edge * blue))];
                cube->setValue(red, green, blue, texel[0], texel[1], texel[2]);
            }
        }
    }
    const ocio::ConstCPUProcessorRcPtr processor =
        ocio::Config::CreateRaw()->getProcessor(cube)->getDefaultCPUProcessor();
    return [processor, &picture](void* to) {
        const std::size_t rows = picture.height / 100, rowLength = picture.width * kChannels;
        tbb::parallel_for<std::size_t>(0, picture.height / rows, [&](std::size_t part) {
            const ocio::PackedImageDesc from(const_cast<float*>(&picture.pixels[part * rows * rowLength]),
                                             static_cast<long>(picture.width), static_cast<long>(rows), kChannels);
            ocio::PackedImageDesc result(static_cast<float*>(to) + part * rows * rowLength,
                                         static_cast<long>(picture.width), static_cast<long>(rows), kChannels);
            processor->apply(from, result);
        });
    };
}

}  // namespace

std::vector<Rival> OpenColorIORivals() {
    return {{"12 MP/color cube 32", "OpenColorIO", [] { return CubeOf(First()); }}};
}

}  // namespace benchmarks
