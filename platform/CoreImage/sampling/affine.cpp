// affine.cpp - warps by the inverse of the map; moves by whole pixels are copies.

#include "sampling/affine.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/inputs.h"
#include "sampling/bilinear.h"

namespace core_image {
namespace {

// An edge this close to a whole number counts as that number: maps of 32-bit floats are not more precise.
constexpr double kEdgeTolerance = 1e-3;

// The pixels that a mapped extent covers: at least one in each direction.
Extent Rounded(const Extent& extent) {
    const double left = std::floor(extent.left + kEdgeTolerance), bottom = std::floor(extent.bottom + kEdgeTolerance);
    return {left, bottom, std::max(left + 1, std::ceil(extent.right - kEdgeTolerance)),
            std::max(bottom + 1, std::ceil(extent.top - kEdgeTolerance))};
}

// Takes pixels from the places given by the inverse of a map.
class AffineWarp : public Warp {
  public:
    explicit AffineWarp(const Affine& inverse) : inverse_(inverse) {}

    void Places(const PlaceRow& row, double* x, double* y) const override {
        const double centerY = static_cast<double>(row.y) + 0.5;
        const double startX = inverse_.c * centerY + inverse_.tx, startY = inverse_.d * centerY + inverse_.ty;
        for (std::size_t index = 0; index < row.count; ++index) {
            // 32-bit integers convert to doubles as vectors.
            const double centerX = static_cast<double>(row.x) + static_cast<double>(static_cast<int>(index)) + 0.5;
            x[index] = inverse_.a * centerX + startX;
            y[index] = inverse_.b * centerX + startY;
        }
    }

    Extent Source(const Extent& centers) const override { return inverse_.Map(centers); }

    bool KeepsPictures() const override { return true; }

  private:
    Affine inverse_;
};

class MovedStage : public Stage {
  public:
    MovedStage(Prepared input, std::int64_t x, std::int64_t y) : input_(std::move(input)), x_(x), y_(y) {}

    bool IsPointwise() const override { return input_.IsPointwise(); }

    std::optional<View> Held(const Region& region) const override {
        std::optional<View> view = input_.Held({region.x - x_, region.y - y_, region.width, region.height});
        if (view) view->region = region;
        return view;
    }

    void Render(const Tile& tile) const override {
        const Region& region = tile.region;
        input_.Render({{region.x - x_, region.y - y_, region.width, region.height}, tile.pixels, tile.floatsPerRow});
    }

    void RenderRun(const Run& run, float* blocks, float* spare) const override {
        input_.RenderRun({run.x - x_, run.y - y_, run.count}, blocks, spare);
    }

    std::size_t SpareRuns() const override { return input_.SpareRuns(); }

  private:
    Prepared input_;
    std::int64_t x_, y_;
};

// An image moved by whole pixels.
class MovedImage : public Image {
  public:
    MovedImage(ImageRef input, const Extent& extent, std::int64_t x, std::int64_t y)
        : Image(extent, input->GetDepth()), input_(std::move(input)), x_(x), y_(y) {
        if (input_->Encoded() != nullptr) SetEncoded(std::make_shared<MovedImage>(input_->Encoded(), extent, x, y));
    }

    const ImageRef& GetInput() const { return input_; }
    std::int64_t X() const { return x_; }
    std::int64_t Y() const { return y_; }

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddByTiles(input_, SourceOf(region)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<MovedStage>(Prepare(input_, SourceOf(region)), x_, y_);
    }

  private:
    Region SourceOf(const Region& region) const { return {region.x - x_, region.y - y_, region.width, region.height}; }

    ImageRef input_;
    std::int64_t x_, y_;
};

// Whether a map moves by whole pixels, by an amount small enough to count.
bool IsWholeMove(const Affine& map) {
    return map.a == 1 && map.b == 0 && map.c == 0 && map.d == 1 && std::floor(map.tx) == map.tx &&
           std::floor(map.ty) == map.ty && std::abs(map.tx) <= kFarthestPlace && std::abs(map.ty) <= kFarthestPlace;
}

}  // namespace

std::optional<Affine> Affine::Inverse() const {
    const double determinant = a * d - b * c;
    const Affine back = {d / determinant,
                         -b / determinant,
                         -c / determinant,
                         a / determinant,
                         (c * ty - d * tx) / determinant,
                         (b * tx - a * ty) / determinant};
    for (const double number : {back.a, back.b, back.c, back.d, back.tx, back.ty}) {
        // Written so that NaN is refused, too.
        if (!(std::abs(number) <= kLargestNumber)) return std::nullopt;
    }
    return back;
}

Extent Affine::Map(const Extent& extent) const {
    const auto range = [](double factorX, double left, double right, double factorY, double bottom, double top,
                          double shift, double* least, double* most) {
        // A factor of 0 contributes nothing, even for an infinite edge.
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
    const std::optional<Affine> inverse = map.Inverse();
    if (!inverse) return nullptr;
    if (map == Affine{} || input->GetExtent().IsEmpty()) return input;
    const Extent extent = Rounded(map.Map(input->GetExtent()));
    if (IsWholeMove(map)) {
        std::int64_t x = static_cast<std::int64_t>(map.tx), y = static_cast<std::int64_t>(map.ty);
        // Moves one after the other are one.
        if (const auto* moved = dynamic_cast<const MovedImage*>(input.Get())) {
            x += moved->X();
            y += moved->Y();
            input = ImageRef(moved->GetInput());
        }
        return std::make_shared<MovedImage>(std::move(input), extent, x, y);
    }
    return MakeWarpedImage(std::move(input), std::make_shared<AffineWarp>(*inverse), extent, light);
}

}  // namespace core_image
