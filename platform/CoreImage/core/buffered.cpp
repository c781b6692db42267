// buffered.cpp - a block of pixels, filled on all cores when the stage is made.

#include "core/buffered.h"

#include <tbb/parallel_for.h>

#include <cstring>
#include <utility>

namespace core_image {
namespace {

class BufferedStage : public Stage {
  public:
    BufferedStage(const ImageRef& input, const Region& region) : pixels_(RenderBlock(input, region)) {}

    bool IsPointwise() const override { return true; }

    std::optional<View> Held(const Region& region) const override { return pixels_.GetView().Part(region); }

    void Render(const Tile& tile) const override {
        const View from = pixels_.GetView().Part(tile.region);
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            std::memcpy(tile.Row(y), from.Row(y), tile.Width() * kFloatsPerPixel * sizeof(float));
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

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<BufferedStage>(input_, region);
    }

  private:
    ImageRef input_;
};

}  // namespace

PixelBlock RenderBlock(const ImageRef& image, const Region& region) {
    constexpr std::int64_t kTileWidth = 256, kTileHeight = 64;
    PixelBlock pixels(region);
    const Prepared prepared = Prepare(image, region);
    const std::int64_t columns = (region.width + kTileWidth - 1) / kTileWidth;
    const std::int64_t rows = (region.height + kTileHeight - 1) / kTileHeight;
    tbb::parallel_for<std::int64_t>(0, columns * rows, [&](std::int64_t index) {
        const Region tile = {region.x + index % columns * kTileWidth, region.y + index / columns * kTileHeight,
                             kTileWidth, kTileHeight};
        prepared.Render(pixels.GetTile().Part(region.Intersection(tile)));
    });
    return pixels;
}

ImageRef MakeBufferedImage(ImageRef input) { return std::make_shared<BufferedImage>(std::move(input)); }

}  // namespace core_image
