// reduce.cpp - the parts that all reductions share.

#include "reduction/reduce.h"

#include <algorithm>
#include <memory>

#include "core/render_session.h"

namespace core_image {
namespace {

// Farther coordinates are beyond those that pixels are counted with.
constexpr std::int64_t kRegionLimit = std::int64_t{1} << 50;

// The first cell whose center is not before an edge.
std::int64_t FirstCell(std::int64_t edge, std::int64_t step) {
    const std::int64_t place = edge - step / 2;
    return place >= 0 ? (place + step - 1) / step : -(-place / step);
}

// Computed before the stage is made, copied when it is rendered.
class RowStage : public Stage {
  public:
    explicit RowStage(std::shared_ptr<const PixelBlock> row) : row_(std::move(row)) {}

    void Render(const Tile& tile) const override {
        const float* from = row_->GetTile().Part(tile.region).pixels;
        std::copy_n(from, tile.Width() * kFloatsPerPixel, tile.pixels);
    }

  private:
    std::shared_ptr<const PixelBlock> row_;
};

class RowImage : public Image {
  public:
    RowImage(ImageRef input, const Region& reduced, std::int64_t width, RowFunction function)
        : Image({0, 0, static_cast<double>(width), 1}, input->GetDepth()),
          input_(std::move(input)),
          reduced_(reduced),
          function_(std::move(function)) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        if (!IsReducedByGroups(reduced_) && KeptRow(region) == nullptr) needs.AddAtOnce(input_, reduced_);
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        std::shared_ptr<const PixelBlock> row = KeptRow(region);
        if (row == nullptr) {
            const auto made = std::make_shared<PixelBlock>(region);
            function_(input_, region, made->GetTile().pixels);
            if (RenderSession* session = RenderSession::Current()) session->Kept(this, region) = made;
            row = made;
        }
        return std::make_unique<RowStage>(std::move(row));
    }

  private:
    std::shared_ptr<const PixelBlock> KeptRow(const Region& region) const {
        RenderSession* const session = RenderSession::Current();
        return session != nullptr ? session->Kept(this, region) : nullptr;
    }

    ImageRef input_;
    Region reduced_;
    RowFunction function_;
};

}  // namespace

bool IsReducedByGroups(const Region& reduced) { return PixelCount(reduced) > kMostPixelsOfGroup; }

Samples SamplesAt(const Region& region, std::int64_t stepX, std::int64_t stepY) {
    const std::int64_t x = FirstCell(region.x, stepX), y = FirstCell(region.y, stepY);
    return {{x, y, FirstCell(region.Right(), stepX) - x, FirstCell(region.Top(), stepY) - y}, stepX, stepY};
}

Samples SamplesOf(const Region& region) {
    Samples samples = {region};
    if (samples.Count() <= kMostPixelsRead) return samples;
    while (samples.Count() > kMostSamplesRead) {
        // Only the longer side is coarsened, so that a thin region keeps its height.
        const bool isWide = samples.cells.width > samples.cells.height;
        samples = SamplesAt(region, samples.stepX * (isWide ? 2 : 1), samples.stepY * (isWide ? 1 : 2));
    }
    return samples;
}

Region ReducedRegion(const ImageRef& input, const Inputs& inputs) {
    const Region region = Clip({-kRegionLimit, -kRegionLimit, 2 * kRegionLimit, 2 * kRegionLimit},
                               input->GetExtent().Intersection(inputs.GetRectangle("inputExtent")));
    return region.IsEmpty() ? Region{} : region;
}

ImageRef MakeRowImage(ImageRef input, const Region& reduced, std::int64_t width, RowFunction function) {
    return std::make_shared<RowImage>(std::move(input), reduced, width, std::move(function));
}

}  // namespace core_image
