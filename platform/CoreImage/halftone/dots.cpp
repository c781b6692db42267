// dots.cpp - fills the tables.

#include "halftone/dots.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>

namespace core_image {
namespace {

// Appends pixels along one direction, in which the phases of the two waves grow by this many periods per pixel.
void Fill(WaveParts& parts, std::int64_t first, std::int64_t count, double center, const std::array<double, 2>& steps) {
    for (std::size_t wave = 0; wave < 2; ++wave) {
        parts.sines[wave].reserve(static_cast<std::size_t>(count) + kBlockPixels);
        parts.cosines[wave].reserve(static_cast<std::size_t>(count) + kBlockPixels);
        for (std::int64_t index = 0; index < count; ++index) {
            const double periods = (static_cast<double>(first + index) + 0.5 - center) * steps[wave];
            const double angle = 2 * std::numbers::pi * (periods - std::floor(periods));
            parts.sines[wave].push_back(static_cast<float>(std::sin(angle)));
            parts.cosines[wave].push_back(static_cast<float>(std::cos(angle)));
        }
        parts.sines[wave].resize(parts.sines[wave].size() + kBlockPixels);
        parts.cosines[wave].resize(parts.cosines[wave].size() + kBlockPixels);
    }
}

}  // namespace

Dots::Dots(const Region& region, const DotGrid& grid)
    : left_(region.x),
      bottom_(region.y),
      memory_(static_cast<std::uint64_t>(region.width + region.height) * 4 * sizeof(float)) {
    const double along = std::cos(grid.angle) / grid.width, across = std::sin(grid.angle) / grid.width;
    Fill(columns_, region.x, region.width, grid.centerX, {along, -across});
    Fill(rows_, region.y, region.height, grid.centerY, {across, along});
}

DotRow Dots::Row(const Run& run) const {
    const auto column = static_cast<std::size_t>(run.x - left_), row = static_cast<std::size_t>(run.y - bottom_);
    return {{&columns_.sines[0][column], &columns_.sines[1][column]},
            {&columns_.cosines[0][column], &columns_.cosines[1][column]},
            {rows_.sines[0][row], rows_.sines[1][row]},
            {rows_.cosines[0][row], rows_.cosines[1][row]}};
}

}  // namespace core_image
