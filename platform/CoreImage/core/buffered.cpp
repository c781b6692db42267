// buffered.cpp - a block of pixels, filled on all cores while the stage is made.

#include "core/buffered.h"

#include <tbb/parallel_for.h>

#include <cstring>
#include <utility>

namespace core_image {
namespace {

class BufferedStage : public Stage {
  public:
    BufferedStage(const ImageRef& input, const Region& region) : pixels_(RenderBlock(input, region)) {}

    bool isPointwise() const override { return true; }

    std::optional<View> held(const Region& region) const override { return pixels_.view().part(region); }

    void render(const Tile& tile) const override {
        const View from = pixels_.view().part(tile.region);
        for (std::int64_t y = tile.region.y; y < tile.region.top(); ++y) {
            std::memcpy(tile.row(y), from.row(y), tile.width() * kFloatsPerPixel * sizeof(float));
        }
    }

    void renderRun(const Run& run, float* blocks, float*) const override {
        ToBlocks(pixels_.tile().part(run.region()).pixels, run.count, blocks);
    }

  private:
    PixelBlock pixels_;
};

class BufferedImage : public Image {
  public:
    explicit BufferedImage(ImageRef input) : Image(input->extent(), input->depth()), input_(std::move(input)) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
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
        prepared.render(pixels.tile().part(region.intersection(tile)));
    });
    return pixels;
}

ImageRef MakeBufferedImage(ImageRef input) { return std::make_shared<BufferedImage>(std::move(input)); }

}  // namespace core_image
