// buffered.cpp - a block of pixels, filled on all cores when the stage is made.

#include "core/buffered.h"

#include <tbb/parallel_for.h>

#include <utility>

namespace core_image {
namespace {

class BufferedStage : public Stage {
  public:
    explicit BufferedStage(PixelBlock pixels) : pixels_(std::move(pixels)) {}

    bool IsPointwise() const override { return true; }

    int Levels(int) const override { return 1; }

    std::optional<View> Held(const Region& region) const override { return pixels_.GetView().Part(region); }

    void Render(const Tile& tile) const override { Copy(pixels_.GetView().Part(tile.region), tile); }

    void RenderRun(const Run& run, float* blocks, float*) const override {
        ToBlocks(pixels_.GetTile().Part(run.GetRegion()).pixels, run.count, blocks);
    }

  private:
    PixelBlock pixels_;
};

}  // namespace

std::unique_ptr<const Stage> MakeHeldStage(PixelBlock pixels) {
    return std::make_unique<BufferedStage>(std::move(pixels));
}

Prepared Hold(const Prepared& prepared, const Region& region) {
    return {Extent::Of(region), MakeHeldStage(RenderBlock(prepared, region)), /*levels=*/1};
}

PixelBlock RenderBlock(const ImageRef& image, const Region& region) {
    return RenderBlock(Prepare(image, region), region);
}

PixelBlock RenderBlock(const Prepared& prepared, const Region& region) {
    PixelBlock pixels(region);
    RenderByTiles(pixels.GetTile(), [&](const Tile& tile) { prepared.Render(tile); });
    return pixels;
}

void RenderByTiles(const Tile& all, const std::function<void(const Tile& tile)>& render) {
    const Region& region = all.region;
    const std::int64_t columns = (region.width + kTileWidth - 1) / kTileWidth;
    const std::int64_t rows = (region.height + kTileHeight - 1) / kTileHeight;
    tbb::parallel_for<std::int64_t>(0, columns * rows, [&](std::int64_t index) {
        const Region tile = {region.x + index % columns * kTileWidth, region.y + index / columns * kTileHeight,
                             kTileWidth, kTileHeight};
        render(all.Part(region.Intersection(tile)));
    });
}

}  // namespace core_image
