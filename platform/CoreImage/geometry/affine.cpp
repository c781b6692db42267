// affine.cpp - looks up where each pixel came from.
//
// A pixel's source depends on nothing but its own place and the map, so results do not depend on tiles.

#include "geometry/affine.h"

#include <cmath>
#include <utility>

#include "core/inputs.h"
#include "core/transfer.h"
#include "geometry/bilinear.h"

namespace core_image {
namespace {

// Sources further out than this are taken as this far out: they still are whole numbers of 32 bits.
constexpr double kFarthest = 1 << 30;

// An edge that is this near to a whole number is that number: maps of 32-bit floats are not more precise.
constexpr double kEdgeTolerance = 1e-3;

// The pixels that the map of an extent covers: one at least in each direction.
Extent Rounded(const Extent& extent) {
    const double left = std::floor(extent.left + kEdgeTolerance), bottom = std::floor(extent.bottom + kEdgeTolerance);
    return {left, bottom, std::max(left + 1, std::ceil(extent.right - kEdgeTolerance)),
            std::max(bottom + 1, std::ceil(extent.top - kEdgeTolerance))};
}

// The pixels that the pixels of a region are interpolated from.
Region SourceOf(const Region& region, const Affine& inverse) {
    const double x = static_cast<double>(region.x), y = static_cast<double>(region.y);
    const Extent centres = {x + 0.5, y + 0.5, x + static_cast<double>(region.width) - 0.5,
                            y + static_cast<double>(region.height) - 0.5};
    const Extent mapped = inverse.map(centres);
    const auto pixel = [](double place) {
        return static_cast<std::int64_t>(std::floor(std::clamp(place - 0.5, -kFarthest, kFarthest)));
    };
    // One more around them: the corners are rounded otherwise than each pixel's own place.
    const std::int64_t left = pixel(mapped.left) - 1, bottom = pixel(mapped.bottom) - 1;
    return {left, bottom, pixel(mapped.right) + 3 - left, pixel(mapped.top) + 3 - bottom};
}

class AffineStage : public Stage {
  public:
    AffineStage(Prepared input, const Affine& inverse, bool isEncoded)
        : input_(std::move(input)), inverse_(inverse), isEncoded_(isEncoded) {}

    void render(const Tile& tile) const override {
        const Region needed = SourceOf(tile.region, inverse_);
        if (Clip(needed, input_.extent()).isEmpty()) {
            Clear(tile);
        } else if (isTooSparse(needed, tile.region)) {
            renderHalves(tile);
        } else {
            sample(tile, needed);
        }
    }

  private:
    // Whether a tile would look at far more pixels than it uses.
    static bool isTooSparse(const Region& needed, const Region& region) {
        constexpr double kMostPerPixel = 16, kAlways = 256;
        const double pixels = static_cast<double>(region.width) * static_cast<double>(region.height);
        return pixels > 1 && static_cast<double>(needed.width) * static_cast<double>(needed.height) >
                                 kMostPerPixel * pixels + kAlways;
    }

    void renderHalves(const Tile& tile) const {
        Region first = tile.region, second = tile.region;
        if (first.width > first.height) {
            first.width /= 2;
            second.x += first.width;
            second.width -= first.width;
        } else {
            first.height /= 2;
            second.y += first.height;
            second.height -= first.height;
        }
        render(tile.part(first));
        render(tile.part(second));
    }

    void sample(const Tile& tile, const Region& needed) const {
        const PixelBlock source(needed);
        input_.render(source.tile());
        for (std::int64_t y = tile.region.y; y < tile.region.top(); ++y) {
            const double row = static_cast<double>(y) + 0.5;
            const LinePlaces places = {inverse_.a, inverse_.c * row + inverse_.tx - 0.5, inverse_.b,
                                       inverse_.d * row + inverse_.ty - 0.5};
            SampleLine(source, places, tile.region.x, tile.row(y), tile.width());
            if (isEncoded_) DecodePremultipliedRow(tile.row(y), tile.width());
        }
    }

    Prepared input_;
    Affine inverse_;
    bool isEncoded_;
};

class AffineImage : public Image {
  public:
    AffineImage(ImageRef input, const Extent& extent, const Affine& inverse, bool isEncoded)
        : Image(extent, input->depth()), input_(std::move(input)), inverse_(inverse), isEncoded_(isEncoded) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        return std::make_unique<AffineStage>(Prepare(input_, SourceOf(region, inverse_)), inverse_, isEncoded_);
    }

    ImageRef encoded() const override {
        return isEncoded_ ? std::make_shared<AffineImage>(input_, extent(), inverse_, /*isEncoded=*/false) : nullptr;
    }

  private:
    ImageRef input_;
    Affine inverse_;
    bool isEncoded_;  // whether the input's pixels are, and have to be decoded
};

class MovedStage : public Stage {
  public:
    MovedStage(Prepared input, std::int64_t x, std::int64_t y) : input_(std::move(input)), x_(x), y_(y) {}

    bool isPointwise() const override { return input_.isPointwise(); }

    void render(const Tile& tile) const override {
        const Region& region = tile.region;
        input_.render({{region.x - x_, region.y - y_, region.width, region.height}, tile.pixels, tile.floatsPerRow});
    }

  private:
    Prepared input_;
    std::int64_t x_, y_;
};

// An image moved by whole pixels.
class MovedImage : public Image {
  public:
    MovedImage(ImageRef input, const Extent& extent, std::int64_t x, std::int64_t y)
        : Image(extent, input->depth()), input_(std::move(input)), x_(x), y_(y) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        const Region source = {region.x - x_, region.y - y_, region.width, region.height};
        return std::make_unique<MovedStage>(Prepare(input_, source), x_, y_);
    }

    ImageRef encoded() const override {
        ImageRef input = input_->encoded();
        return input == nullptr ? nullptr : std::make_shared<MovedImage>(std::move(input), extent(), x_, y_);
    }

  private:
    ImageRef input_;
    std::int64_t x_, y_;
};

// Whether a map moves by whole pixels, so few that they can be counted.
bool IsWholeMove(const Affine& map) {
    return map.a == 1 && map.b == 0 && map.c == 0 && map.d == 1 && std::floor(map.tx) == map.tx &&
           std::floor(map.ty) == map.ty && std::abs(map.tx) <= kFarthest && std::abs(map.ty) <= kFarthest;
}

}  // namespace

std::optional<Affine> Affine::inverse() const {
    const double determinant = a * d - b * c;
    const Affine back = {d / determinant,
                         -b / determinant,
                         -c / determinant,
                         a / determinant,
                         (c * ty - d * tx) / determinant,
                         (b * tx - a * ty) / determinant};
    for (const double number : {back.a, back.b, back.c, back.d, back.tx, back.ty}) {
        // Written so that what is no number is refused, too.
        if (!(std::abs(number) <= kLargestNumber)) return std::nullopt;
    }
    return back;
}

Extent Affine::map(const Extent& extent) const {
    const auto range = [](double factorX, double left, double right, double factorY, double bottom, double top,
                          double shift, double* least, double* most) {
        // A factor of 0 takes no part, not even of what is infinite.
        const double x0 = factorX == 0 ? 0 : factorX * left, x1 = factorX == 0 ? 0 : factorX * right;
        const double y0 = factorY == 0 ? 0 : factorY * bottom, y1 = factorY == 0 ? 0 : factorY * top;
        *least = std::min(x0, x1) + std::min(y0, y1) + shift;
        *most = std::max(x0, x1) + std::max(y0, y1) + shift;
    };
    Extent mapped;
    range(a, extent.left, extent.right, c, extent.bottom, extent.top, tx, &mapped.left, &mapped.right);
    range(b, extent.left, extent.right, d, extent.bottom, extent.top, ty, &mapped.bottom, &mapped.top);
    return mapped;
}

ImageRef MakeAffineImage(ImageRef input, const Affine& map, Light light) {
    const std::optional<Affine> inverse = map.inverse();
    if (!inverse) return nullptr;
    if (map == Affine{} || input->extent().isEmpty()) return input;
    const Extent extent = Rounded(map.map(input->extent()));
    if (IsWholeMove(map)) {
        return std::make_shared<MovedImage>(std::move(input), extent, static_cast<std::int64_t>(map.tx),
                                            static_cast<std::int64_t>(map.ty));
    }
    ImageRef encoded = light == Light::asStored ? input->encoded() : nullptr;
    const bool isEncoded = encoded != nullptr;
    return std::make_shared<AffineImage>(isEncoded ? std::move(encoded) : std::move(input), extent, *inverse,
                                         isEncoded);
}

}  // namespace core_image
