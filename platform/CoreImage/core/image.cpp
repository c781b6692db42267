// image.cpp - common to all images: transparent outside their extent, and destroyed one after the other.

#include "core/image.h"

namespace core_image {
namespace {

// The images that this thread still has to destroy; null outside of destructors.
thread_local std::shared_ptr<const Image>* doomed = nullptr;

}  // namespace

ImageRef::~ImageRef() {
    if (image_ == nullptr || image_.use_count() > 1) return;
    if (doomed != nullptr) {
        image_->nextToDestroy_ = std::move(*doomed);
        *doomed = std::move(image_);
        return;
    }
    std::shared_ptr<const Image> next;
    doomed = &next;
    image_.reset();
    while (next != nullptr) {
        const std::shared_ptr<const Image> image = std::move(next);
        next = std::move(image->nextToDestroy_);
    }
    doomed = nullptr;
}

ReducedImage Image::Reduced(double) const { return {}; }

void Stage::RenderRun(const Run& run, float* blocks, float*) const {
    Render({run.GetRegion(), blocks, 0});
    ToBlocks(blocks, run.count, blocks);
}

void RenderByRuns(const Stage& stage, const Tile& tile) {
    const RunMemory memory(1 + stage.SpareRuns());
    ForEachRun(tile.region, [&](const Run& run) {
        stage.RenderRun(run, memory.Run(0), memory.Run(1));
        FromBlocks(memory.Run(0), run.count, tile.Part(run.GetRegion()).pixels);
    });
}

// Why the coordinates are compared one by one, and the rest is a function of its own: at 32 bits the compiler would
// load a whole region as a vector right after its halves were stored, and the processor waits for that longer than a
// short run takes.
void Prepared::RenderRun(const Run& run, float* blocks, float* spare) const {
    const auto right = run.x + static_cast<std::int64_t>(run.count);
    if (stage_ != nullptr && run.x >= pixels_.x && right <= pixels_.Right() && run.y >= pixels_.y &&
        run.y < pixels_.Top()) {
        stage_->RenderRun(run, blocks, spare);
    } else {
        RenderRunAtEdge(run, blocks);
    }
}

[[gnu::noinline]] void Prepared::RenderRunAtEdge(const Run& run, float* blocks) const {
    Render({run.GetRegion(), blocks, 0});
    ToBlocks(blocks, run.count, blocks);
}

void Prepared::Render(const Tile& tile) const {
    const Region &all = tile.region, inside = all.Intersection(pixels_);
    if (stage_ == nullptr || inside.IsEmpty()) {
        Clear(tile);
        return;
    }
    if (inside == all) {
        stage_->Render(tile);
        return;
    }
    const std::int64_t middle = inside.height;
    for (const Region& around : {Region{all.x, all.y, all.width, inside.y - all.y},
                                 Region{all.x, inside.Top(), all.width, all.Top() - inside.Top()},
                                 Region{all.x, inside.y, inside.x - all.x, middle},
                                 Region{inside.Right(), inside.y, all.Right() - inside.Right(), middle}}) {
        if (!around.IsEmpty()) Clear(tile.Part(around));
    }
    stage_->Render(tile.Part(inside));
}

std::optional<View> Prepared::Held(const Region& region) const {
    if (stage_ == nullptr || !pixels_.Contains(region)) return std::nullopt;
    return stage_->Held(region);
}

// If the middle pixel is in memory, the others are too.
bool Prepared::IsInMemory(const Region& region) const {
    const Region inside = region.Intersection(pixels_);
    return Held({inside.x + inside.width / 2, inside.y + inside.height / 2, 1, 1}).has_value();
}

}  // namespace core_image
