// warp.cpp - computes the places, reads the part of the input around them, and interpolates.

#include "sampling/warp.h"

#include <array>
#include <limits>
#include <optional>
#include <utility>

#include "core/ahead.h"
#include "core/buffered.h"
#include "core/color_matching.h"
#include "core/transfer.h"
#include "core/window.h"
#include "sampling/bilinear.h"
#include "sampling/repeat.h"

namespace core_image {
namespace {

// The part of a region that lies in an extent, with a border of one transparent pixel: everything beyond is
// transparent too.
Region WithRim(const Region& region, const Extent& extent) {
    return Clip(region, {extent.left - 1, extent.bottom - 1, extent.right + 1, extent.top + 1});
}

// The centers of a region's pixels.
Extent CentersOf(const Region& region) {
    const double x = static_cast<double>(region.x), y = static_cast<double>(region.y);
    return {x + 0.5, y + 0.5, x + static_cast<double>(region.width) - 0.5,
            y + static_cast<double>(region.height) - 0.5};
}

// Whether an image has at least two pixels in each direction, so that some can be interpolated without others around.
bool HasNeighbors(const Extent& extent) { return extent.right - extent.left >= 2 && extent.top - extent.bottom >= 2; }

// Whether an image shows a source or a few functions of one: to render a pixel again costs less than to hold it.
bool IsCheap(const Image& image) {
    const Image* const shown = image.Shown();
    return shown != nullptr ? IsCheap(*shown) : image.IsPlain();
}

// A warp with its parameters.
struct Recipe {
    ImageRef input;
    bool isClamped;  // whether places outside the input show its edge
    bool isEncoded;  // whether the input's pixels are encoded and have to be decoded
    ImageRef guide;  // null without one
    std::shared_ptr<const Warp> warp;

    // What is read of the input to interpolate between pixels, some of which may lie outside.
    Region Read(const Region& pixels) const {
        Region all;
        if (!isClamped || !RegionOfExtent(input->GetExtent(), &all)) return WithRim(pixels, input->GetExtent());
        // Interpolation takes the edge of its source beyond it, but a source has two pixels in each direction.
        return Nearest(pixels, all).GrownBy(1).Intersection(all);
    }

    // The pixels of the input from which a region is interpolated.
    //
    // One more pixel on each side: the bounds of all places are rounded differently from the places.
    Region SourceOf(const Region& region) const {
        return Read(PixelsAround(warp->Source(CentersOf(region)).GrownBy(1)));
    }

    Region GuideOf(const Region& region) const { return region.GrownBy(warp->GuideMargin()); }

    // Whether the source of a region is held in memory as a whole; tiles of any other one read what they need.
    bool IsHeld(const Region& source, const Region& region) const {
        if (!warp->IsScattered() || Clip(source, input->GetExtent()).IsEmpty()) return false;
        // Up to this size, reading parts of a picture several times takes longer than holding it.
        constexpr double kSmall = 4 << 20;
        const double pixels = PixelCount(source);
        const bool isReadOften = pixels < PixelCount(region);
        return pixels <= kMostHeld && (isReadOften || pixels <= kSmall || !IsCheap(*input));
    }
};

using Halves = std::array<Region, 2>;

// The left and the right half of a region. The left one of a single column is empty.
Halves SideBySide(const Region& region) {
    const std::int64_t width = region.width / 2;
    return {Region{region.x, region.y, width, region.height},
            Region{region.x + width, region.y, region.width - width, region.height}};
}

// The lower and the upper half of a region. The lower one of a single row is empty.
Halves Stacked(const Region& region) {
    const std::int64_t height = region.height / 2;
    return {Region{region.x, region.y, region.width, height},
            Region{region.x, region.y + height, region.width, region.height - height}};
}

class WarpStage : public Stage {
  public:
    WarpStage(Recipe recipe, const Region& region)
        : recipe_(std::move(recipe)),
          isEncoded_(recipe_.isEncoded && IsMatching()),
          isGuided_(recipe_.guide != nullptr),
          extent_(recipe_.input->GetExtent()) {
        const Region source = recipe_.SourceOf(region);
        input_ = Prepare(recipe_.input, source);
        if (recipe_.IsHeld(source, region) && !input_.IsInMemory(source)) {
            held_.emplace(RenderBlock(input_, source));
            input_ = {};
        }
        if (isGuided_) guide_ = Prepare(recipe_.guide, recipe_.GuideOf(region));
    }

    void Render(const Tile& tile) const override {
        if (!held_ && IsShown(tile.region)) {
            input_.Render(tile);
            Decode(tile);
            return;
        }
        const Places places = PlacesOf(tile.region);
        if (!held_) {
            Sample(places.GetView(), tile);
            return;
        }
        SampleBilinear(held_->GetView(), places.GetView(), tile);
        Decode(tile);
    }

  private:
    // Whether a region can show the input's pixels at the same places.
    //
    // Why not along the edges of a clamped input: interpolation has no pixels beyond the last one, so it adds that
    // one's difference from the one before to that, which may round differently. So every tile there is interpolated.
    bool IsShown(const Region& region) const {
        if (recipe_.warp->Moves(CentersOf(region))) return false;
        const Region around = region.GrownBy(1);
        return !recipe_.isClamped || Clip(around, extent_) == around;
    }

    Places PlacesOf(const Region& region) const {
        std::optional<Window> guide;
        if (isGuided_) {
            Region seen = region;
            seen.width = static_cast<std::int64_t>(PlaceRowLength(region.width));
            guide.emplace(guide_, recipe_.GuideOf(seen));
        }
        Places places(region);
        for (std::int64_t y = region.y; y < region.Top(); ++y) {
            const PlaceRow row = {region.x, y, static_cast<std::size_t>(region.width),
                                  isGuided_ ? &guide->GetView() : nullptr};
            if (isGuided_) RowAhead(guide->GetView(), y + 2).PrefetchAll();
            recipe_.warp->Places(row, places.X(y), places.Y(y));
            places.FinishRow(y);
        }
        return places;
    }

    void Decode(const Tile& tile) const {
        if (!isEncoded_) return;
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            DecodePremultipliedRow(tile.Row(y), tile.Width());
        }
    }

    // The input's pixels from which places are interpolated.
    Region NeededBy(const PlacesView& places) const { return recipe_.Read(PixelsAround(places.Bounds())); }

    // Renders a tile from the input's pixels around its places.
    void Sample(const PlacesView& places, const Tile& tile) const {
        const Region needed = NeededBy(places);
        if (Clip(needed, input_.GetExtent()).IsEmpty()) {
            Clear(tile);
        } else if (const auto halves = input_.Held(needed) ? std::nullopt : HalvesOf(places, needed)) {
            for (const Region& half : *halves) Sample(places.Part(half), tile.Part(half));
        } else {
            SampleBilinear(Window(input_, needed).GetView(), places, tile);
            Decode(tile);
        }
    }

    // The better way to cut a region whose places lie far apart, so that the pixels between them are not read. None if
    // the region is better sampled as a whole.
    //
    // Why not whenever places lie far apart: where the input shrinks, the halves need all the pixels, and those along
    // the cut twice. There, a cut only limits the memory.
    std::optional<Halves> HalvesOf(const PlacesView& places, const Region& needed) const {
        // Pixels for each place: up to kDense, and kAlways more, a region is not cut; above kSparse it always is. In
        // between it is cut if its halves need at most this part of the pixels.
        constexpr double kDense = 2, kSparse = 16, kAlways = 1024, kWorthwhile = 0.75;
        const double count = PixelCount(places.region), pixels = PixelCount(needed);
        if (pixels <= kDense * count + kAlways) return std::nullopt;
        Halves best;
        double least = std::numeric_limits<double>::infinity();
        for (const Halves& halves : {SideBySide(places.region), Stacked(places.region)}) {
            if (halves[0].IsEmpty()) continue;
            double sum = 0;
            for (const Region& half : halves) {
                sum += PixelCount(Clip(NeededBy(places.Part(half)), input_.GetExtent()));
            }
            if (sum >= least) continue;
            least = sum;
            best = halves;
        }
        if (least > kWorthwhile * pixels && pixels <= kSparse * count + kAlways) return std::nullopt;
        return best;
    }

    Recipe recipe_;
    bool isEncoded_;
    bool isGuided_;
    Extent extent_;                   // of the input
    Prepared input_;                  // unless the source is held
    std::optional<PixelBlock> held_;  // the source of a scattered warp
    Prepared guide_;
};

class WarpedImage : public Image {
  public:
    WarpedImage(Recipe recipe, const Extent& extent, const Depth& depthBelow)
        : Image(extent, depthBelow), recipe_(std::move(recipe)) {
        if (!recipe_.isEncoded || !recipe_.warp->KeepsPictures()) return;
        Recipe stored = recipe_;
        stored.isEncoded = false;
        SetEncoded(std::make_shared<WarpedImage>(std::move(stored), extent, depthBelow));
    }

    void AddNeeds(const Region& region, Needs& needs) const override {
        const Region source = recipe_.SourceOf(region);
        if (recipe_.IsHeld(source, region)) {
            needs.AddAtOnce(recipe_.input, source);
        } else if (recipe_.warp->IsScattered() && IsCheap(*recipe_.input)) {
            needs.AddPixels(recipe_.input, source);
        } else {
            needs.AddByTiles(recipe_.input, source);
        }
        if (recipe_.guide != nullptr) needs.AddByTiles(recipe_.guide, recipe_.GuideOf(region));
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<WarpStage>(recipe_, region);
    }

  private:
    Recipe recipe_;
};

}  // namespace

ImageRef MakeWarpedImage(ImageRef input, std::shared_ptr<const Warp> warp, const Extent& extent, Light light,
                         ImageRef guide) {
    const ImageRef stored = light == Light::kAsStored ? input->Encoded() : nullptr;
    if (stored != nullptr) input = stored;
    const ImageRef clamped = InputOfClamped(input);
    const bool isClamped = clamped != nullptr && HasNeighbors(clamped->GetExtent());
    Recipe recipe = {isClamped ? clamped : std::move(input), isClamped, stored != nullptr, std::move(guide),
                     std::move(warp)};
    const Depth below =
        recipe.guide == nullptr ? recipe.input->GetDepth() : recipe.input->GetDepth().With(recipe.guide->GetDepth());
    return std::make_shared<WarpedImage>(std::move(recipe), extent, below);
}

}  // namespace core_image
