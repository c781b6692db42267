// buffered.cpp - a block of pixels, filled on all cores when the stage is made.

#include "core/buffered.h"

#include <tbb/parallel_for.h>

#include <cstring>
#include <utility>

namespace core_image {
namespace {

class BufferedStage : public Stage {
  public:
    explicit BufferedStage(PixelBlock pixels) : pixels_(std::move(pixels)) {}

    bool IsPointwise() const override { return true; }

    int Levels(int) const override { return 1; }

    std::optional<View> Held(const Region& region) const override { return pixels_.GetView().Part(region); }

    void Render(const Tile& tile) const override {
        const View from = pixels_.GetView().Part(tile.region);
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            std::memcpy(tile.Row(y), from.Row(y), tile.Width() * kPixelBytes);
        }
    }

    void RenderRun(const Run& run, float* blocks, float*) const override {
        ToBlocks(pixels_.GetTile().Part(run.GetRegion()).pixels, run.count, blocks);
    }

  private:
    PixelBlock pixels_;
};

class BufferedImage : public Image {
  public:
    explicit BufferedImage(ImageRef input) : Image(input->GetExtent(), input->GetDepth()), input_(std::move(input)) {}

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddAtOnce(input_, region); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return MakeHeldStage(Prepare(input_, region), region);
    }

  private:
    ImageRef input_;
};

}  // namespace

std::unique_ptr<const Stage> MakeHeldStage(PixelBlock pixels) {
    return std::make_unique<BufferedStage>(std::move(pixels));
}

std::unique_ptr<const Stage> MakeHeldStage(const Prepared& prepared, const Region& region) {
    return MakeHeldStage(RenderBlock(prepared, region));
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

ImageRef MakeBufferedImage(ImageRef input) { return std::make_shared<BufferedImage>(std::move(input)); }

}  // namespace core_image
