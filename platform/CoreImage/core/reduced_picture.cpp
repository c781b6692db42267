// reduced_picture.cpp - compares the mean light of squares, each about as large as a pixel of the result.

#include "core/reduced_picture.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/row_window.h"
#include "core/transfer.h"

namespace core_image {
namespace {

// The rows that are compared: a sixteenth of the picture, and not more of a very wide one.
constexpr std::size_t kPartOfHeight = 16;
constexpr std::size_t kMostBytes = 8 << 20;

// Of the squares of a row, each third is compared: they are many enough, and adding up the light of all of them took a
// tenth of the time of a thumbnail.
constexpr std::size_t kSquareStep = 3;

// Pictures that differ mostly do so in the first rows, which are kept: they are rendered next. Behind these, the
// pictures probably look alike, and the rows of the whole one are not needed again.
constexpr std::size_t kTrialBytes = 2 << 20;

// In levels; less than the limit, because other rows may differ more.
constexpr double kMostDifference = 0.8;

constexpr std::size_t kBytesPerPixel = 4;
constexpr std::size_t kLevels = 256;

using MeanLight = std::array<double, 3>;  // red, green, blue

// The mean light in a square of a picture. The strips contain its rows.
MeanLight MeanOf(const RowWindow::Strips& strips, const DecodedRows& picture, std::size_t x, std::size_t y,
                 std::size_t side) {
    const float* const levels = DecodedBytes();
    MeanLight sum = {};
    for (std::size_t row = y; row < y + side; ++row) {
        const RowStrip& strip = *strips[(row - strips.front()->First()) / picture.rows->RowsPerStrip()];
        const std::uint8_t* pixel = strip.Bytes() + ((row - strip.First()) * picture.width + x) * kBytesPerPixel;
        float red = 0, green = 0, blue = 0;
        for (std::size_t column = 0; column < side; ++column, pixel += kBytesPerPixel) {
            red += levels[pixel[0]];
            green += levels[pixel[1]];
            blue += levels[pixel[2]];
        }
        sum = {sum[0] + red, sum[1] + green, sum[2] + blue};
    }
    for (double& channel : sum) channel /= static_cast<double>(side * side);
    return sum;
}

// The light between the two levels around some light.
double LevelAt(double light) {
    const float* const levels = DecodedBytes();
    const auto above = static_cast<std::size_t>(std::upper_bound(levels + 1, levels + kLevels - 1, light) - levels);
    return levels[above] - levels[above - 1];
}

}  // namespace

bool LooksLikeWhole(const DecodedRows& whole, const DecodedRows& reduced, std::size_t factor, double shrinks) {
    const std::size_t most = std::min(whole.height / kPartOfHeight, kMostBytes / (whole.width * kBytesPerPixel));
    const std::size_t pixels = std::max<std::size_t>(1, static_cast<std::size_t>(shrinks) / factor);
    const std::size_t side = pixels * factor;
    const std::size_t down = most / side, across = whole.width / side;
    if (down == 0 || across == 0) return false;
    const std::size_t compared = (across + kSquareStep - 1) / kSquareStep;
    double sum = 0;
    const auto isNear = [&] {
        return sum / static_cast<double>(3 * down * compared) < kMostDifference * kMostDifference;
    };
    bool isKept = true;
    for (std::size_t band = 0; band < down && isNear(); ++band) {
        const std::size_t y = band * side, yOfReduced = band * pixels;
        if (y * whole.width * kBytesPerPixel > kTrialBytes) {
            whole.rows->DropAbove(y);
            isKept = false;
        }
        const RowWindow::Strips all = whole.rows->Rows(y, y + side - 1);
        const RowWindow::Strips some = reduced.rows->Rows(yOfReduced, yOfReduced + pixels - 1);
        for (std::size_t square = 0; square < across; square += kSquareStep) {
            const MeanLight light = MeanOf(all, whole, square * side, y, side);
            const MeanLight seen = MeanOf(some, reduced, square * pixels, yOfReduced, pixels);
            for (std::size_t channel = 0; channel < light.size(); ++channel) {
                const double levels = (seen[channel] - light[channel]) / LevelAt(light[channel]);
                sum += levels * levels;
            }
        }
    }
    if (!isKept) whole.rows->Restart();
    return isNear();
}

}  // namespace core_image
