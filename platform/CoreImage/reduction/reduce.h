// reduce.h - what reductions share: visiting all pixels of a rectangle on all cores, and the image of the result.
//
// The rectangle is cut into bands by its size alone, and the results of the bands are merged from the lowest up, so
// that the result does not depend on the number of threads.
// Adding one: a class with Add() and Merge() for Reduce(), and an image made with MakeRowImage().

#pragma once

#include <tbb/parallel_for.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "core/inputs.h"
#include "core/sampled_input.h"

namespace core_image {

// The samples to read: the centers of a region's cells.
struct Samples {
    Region cells;
    std::int64_t stepX = 1;
    std::int64_t stepY = 1;

    double Count() const { return static_cast<double>(cells.width) * static_cast<double>(cells.height); }
};

// The samples whose centers lie in a region, at given steps.
Samples SamplesAt(const Region& region, std::int64_t stepX, std::int64_t stepY);

// All pixels of a region; about a million samples of a region that is larger than any bitmap, which only infinite
// patterns fill.
Samples SamplesOf(const Region& region);

// The rectangle that a filter reduces; empty when the image has nothing there.
Region ReducedRegion(const ImageRef& input, const Inputs& inputs);

// The image of `width` pixels starting at (0, 0), computed by a function of a region of the input when they are
// requested. The function writes the pixels of a region of one row.
using RowFunction = std::function<void(const ImageRef& input, const Region& region, float* pixels)>;
ImageRef MakeRowImage(ImageRef input, const Region& reduced, std::int64_t width, RowFunction function);

// A large region is read in groups of bands, from the top down. The input is prepared for one group at a time, apart
// from the rest of the recipe.
inline constexpr double kMostPixelsOfGroup = 1 << 22;
bool IsReducedByGroups(const Region& reduced);

// Passes every pixel to an accumulator: Add(pixels, count, x, y) is called with runs of a row, Merge() with the
// accumulator of the rows above. Accumulators begin as copies of the given one.
template <class Accumulator>
Accumulator Reduce(const ImageRef& input, const Samples& samples, const Accumulator& start) {
    constexpr std::int64_t kBands = 64, kPieceWidth = 512, kPieceHeight = 16;
    const Region& all = samples.cells;
    const std::int64_t bandHeight = (all.height + kBands - 1) / kBands;
    std::vector<Accumulator> bands(static_cast<std::size_t>((all.height + bandHeight - 1) / bandHeight), start);
    const auto bandsOfGroup = static_cast<std::size_t>(
        std::max(1.0, kMostPixelsOfGroup / (static_cast<double>(all.width) * static_cast<double>(bandHeight))));
    for (std::size_t end = bands.size(); end > 0;) {
        const std::size_t begin = end - std::min(end, bandsOfGroup);
        const auto rowsOf = [&](std::size_t first, std::size_t count) {
            return all.Intersection({all.x, all.y + static_cast<std::int64_t>(first) * bandHeight, all.width,
                                     static_cast<std::int64_t>(count) * bandHeight});
        };
        const SampledInput sampled(input, rowsOf(begin, end - begin), samples.stepX, samples.stepY);
        tbb::parallel_for(begin, end, [&](std::size_t index) {
            const Region band = rowsOf(index, 1);
            const auto addRows = [&](const View& view) {
                for (std::int64_t y = view.region.y; y < view.region.Top(); ++y) {
                    bands[index].Add(view.Row(y), view.Width(), view.region.x, y);
                }
            };
            if (const std::optional<View> held = sampled.Held(band)) {
                addRows(*held);
                return;
            }
            const PixelBlock block(Region{0, 0, kPieceWidth, kPieceHeight});
            for (std::int64_t tileY = band.y; tileY < band.Top(); tileY += kPieceHeight) {
                for (std::int64_t tileX = band.x; tileX < band.Right(); tileX += kPieceWidth) {
                    const Tile tile = {band.Intersection({tileX, tileY, kPieceWidth, kPieceHeight}),
                                       block.GetTile().pixels, block.GetTile().floatsPerRow};
                    sampled.Render(tile);
                    addRows({tile.region, tile.pixels, tile.floatsPerRow});
                }
            }
        });
        end = begin;
    }
    for (std::size_t index = 1; index < bands.size(); ++index) bands[0].Merge(bands[index]);
    return std::move(bands[0]);
}

}  // namespace core_image
