// checkerboard.cpp - squares of two colors.
//
// u = (p - center) / width. At sharpness 1 a square is color0 where floor(u.x) + floor(u.y) is even. Below that
// every edge is soft: a(s) rises and falls once over two squares, from -1 in the middle of an odd one to 1 in the
// middle of an even one; b(s) = clamp(0.5 + 0.5 a(s) / (1 - sharpness)) is how even a column or row is, and a pixel
// is color0 to the degree that both are even or both are odd. Squares without a width give the mean of both colors.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/field.h"
#include "generator/filters.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "generator/checkerboard.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Writes how even consecutive columns or rows of pixels are, 0 to 1; there is room for a multiple of 8.
HWY_ATTR void FindEvenness(double first, double center, double width, double softness, float* even, std::size_t count) {
    const hn::CappedTag<double, 8> d;
    const hn::Rebind<float, decltype(d)> single;
    const auto half = hn::Set(d, 0.5), one = hn::Set(d, 1.0);
    for (std::size_t index = 0; index < count; index += hn::Lanes(d)) {
        const auto pixel = hn::Iota(d, first + static_cast<double>(index));
        const auto place = hn::Div(hn::Sub(hn::Add(pixel, half), hn::Set(d, center)), hn::Set(d, width));
        const auto square = hn::Floor(place), pairs = hn::Mul(square, half);
        const auto isEven = hn::Eq(hn::Floor(pairs), pairs);
        auto result = hn::IfThenElseZero(isEven, one);
        if (softness > 0) {
            const auto way = hn::Sub(hn::Mul(hn::Set(d, 2.0), hn::Sub(place, square)), one);
            const auto peak = hn::Mul(hn::Sub(one, hn::Abs(way)), hn::IfThenElse(isEven, half, hn::Neg(half)));
            const auto soft = hn::Add(half, hn::Div(peak, hn::Set(d, softness)));
            result = hn::Min(hn::Max(soft, hn::Zero(d)), one);
        }
        hn::StoreU(hn::DemoteTo(single, result), single, even + index);
    }
}

// Writes a row of pixels, each color0 as far as its column is like the row. The unmixed colors are exact, to the last
// bit.
HWY_ATTR void MixRow(const float* columns, float row, const float* color0, const float* color1, float* to,
                     std::size_t count) {
    const hn::FixedTag<float, kFloatsPerPixel> d;
    const auto first = hn::LoadU(d, color0), second = hn::LoadU(d, color1), apart = hn::Sub(first, second);
    for (std::size_t index = 0; index < count; ++index) {
        const float even = columns[index] * row + (1 - columns[index]) * (1 - row);
        const auto mixed = hn::Add(second, hn::Mul(hn::Set(d, even), apart));
        hn::StoreU(even == 1 ? first : mixed, d, to + index * kFloatsPerPixel);
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(FindEvenness);
HWY_EXPORT(MixRow);

// Narrower squares cannot be counted at a great distance.
constexpr double kNarrowest = 1e-6;

class Checkerboard : public Field {
  public:
    explicit Checkerboard(const Inputs& inputs)
        : centerX_(inputs.GetElement("inputCenter", 0)),
          centerY_(inputs.GetElement("inputCenter", 1)),
          width_(inputs.GetNumber("inputWidth")),
          softness_(1 - std::clamp(inputs.GetNumber("inputSharpness"), 0.0, 1.0)),
          color0_(inputs.GetColor("inputColor0")),
          color1_(inputs.GetColor("inputColor1")) {}

    void Render(const Tile& tile) const override {
        std::vector<float> columns(tile.Width() + kMostLanes);
        Evenness(tile.region.x, centerX_, columns.data(), tile.Width());
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            float row[kMostLanes];
            Evenness(y, centerY_, row, 1);
            HWY_DYNAMIC_DISPATCH(MixRow)
            (columns.data(), row[0], &color0_.red, &color1_.red, tile.Row(y), tile.Width());
        }
    }

  private:
    static constexpr std::size_t kMostLanes = 8;

    // The degree to which columns or rows of pixels are even: 0 to 1.
    void Evenness(std::int64_t first, double center, float* even, std::size_t count) const {
        if (width_ > kNarrowest) {
            HWY_DYNAMIC_DISPATCH(FindEvenness)
            (static_cast<double>(first), center, width_, softness_, even, count);
        } else {
            std::fill_n(even, count, 0.5f);
        }
    }

    double centerX_, centerY_, width_, softness_;
    Pixel color0_, color1_;
};

}  // namespace

// CICheckerboardGenerator: squares of inputWidth. inputCenter is a corner; the square above and to the right of it
// has inputColor0.
ImageRef CheckerboardGenerator(const Inputs& inputs) { return MakeFieldImage(std::make_shared<Checkerboard>(inputs)); }

}  // namespace core_image
#endif
