// checkerboard.cpp - squares of two colors.
//
// u = (p - center) / width. At sharpness 1 a square is color0 where floor(u.x) + floor(u.y) is even. Below that
// every edge is soft: a(s) rises and falls once over two squares, from -1 in the middle of an odd one to 1 in the
// middle of an even one; b(s) = clamp(0.5 + 0.5 a(s) / (1 - sharpness)) is how even a column or row is, and a pixel
// is color0 to the degree that both are even or both are odd. Squares without a width give the mean of both colors.

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/field.h"
#include "generator/filters.h"

namespace core_image {
namespace {

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
        std::vector<float> columns(tile.Width());
        for (std::size_t index = 0; index < columns.size(); ++index) {
            columns[index] = Evenness(tile.region.x + static_cast<std::int64_t>(index), centerX_);
        }
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const float row = Evenness(y, centerY_);
            float* to = tile.Row(y);
            for (const float column : columns) {
                Write(column * row + (1 - column) * (1 - row), to);
                to += kFloatsPerPixel;
            }
        }
    }

  private:
    // The degree to which a column or row of pixels is even: 0 to 1.
    float Evenness(std::int64_t pixel, double center) const {
        if (!(width_ > kNarrowest)) return 0.5f;
        const double place = (static_cast<double>(pixel) + 0.5 - center) / width_;
        const double square = std::floor(place);
        const bool isEven = std::fmod(square, 2) == 0;
        if (softness_ == 0) return isEven ? 1.0f : 0.0f;
        const double peak = 1 - std::abs(2 * (place - square) - 1);
        return static_cast<float>(std::clamp(0.5 + (isEven ? 0.5 : -0.5) * peak / softness_, 0.0, 1.0));
    }

    // The unmixed colors are exact, to the last bit.
    void Write(float even, float* to) const {
        if (even == 1) {
            WriteMix(color0_, color0_, 0, to);
        } else {
            WriteMix(color1_, color0_, even, to);
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
