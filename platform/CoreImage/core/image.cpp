// image.cpp - what holds for every image: it is transparent outside its extent.

#include "core/image.h"

namespace core_image {

void Stage::renderRun(const Run& run, float* blocks, float*) const {
    render({run.region(), blocks, 0});
    ToBlocks(blocks, run.count, blocks);
}

void RenderByRuns(const Stage& stage, const Tile& tile) {
    const RunMemory memory(1 + stage.spareRuns());
    ForEachRun(tile.region, [&](const Run& run) {
        stage.renderRun(run, memory.run(0), memory.run(1));
        FromBlocks(memory.run(0), run.count, tile.part(run.region()).pixels);
    });
}

void Prepared::renderRun(const Run& run, float* blocks, float* spare) const {
    const Region region = run.region();
    if (stage_ != nullptr && Clip(region, extent_) == region) {
        stage_->renderRun(run, blocks, spare);
    } else {
        render({region, blocks, 0});
        ToBlocks(blocks, run.count, blocks);
    }
}

void Prepared::render(const Tile& tile) const {
    const Region inside = Clip(tile.region, extent_);
    if (stage_ == nullptr || inside.isEmpty()) {
        Clear(tile);
        return;
    }
    if (inside == tile.region) {
        stage_->render(tile);
        return;
    }
    const Region& all = tile.region;
    const std::int64_t middle = inside.height;
    for (const Region& around : {Region{all.x, all.y, all.width, inside.y - all.y},
                                 Region{all.x, inside.top(), all.width, all.top() - inside.top()},
                                 Region{all.x, inside.y, inside.x - all.x, middle},
                                 Region{inside.right(), inside.y, all.right() - inside.right(), middle}}) {
        if (!around.isEmpty()) Clear(tile.part(around));
    }
    stage_->render(tile.part(inside));
}

std::optional<View> Prepared::held(const Region& region) const {
    if (stage_ == nullptr || Clip(region, extent_) != region) return std::nullopt;
    return stage_->held(region);
}

Prepared Prepare(const ImageRef& image, const Region& region) {
    const Region inside = Clip(region, image->extent());
    if (inside.isEmpty()) return {};
    return {Extent::of(inside), image->prepare(inside)};
}

}  // namespace core_image
