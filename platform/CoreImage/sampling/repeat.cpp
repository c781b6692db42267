// repeat.cpp - renders the needed part of the image once, and copies it to its repetitions.

#include "sampling/repeat.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace core_image {
namespace {

// The remainder of a position within a length.
std::int64_t Wrapped(std::int64_t place, std::int64_t start, std::int64_t length) {
    const std::int64_t rest = (place - start) % length;
    return start + (rest < 0 ? rest + length : rest);
}

class TiledStage : public Stage {
  public:
    TiledStage(Prepared input, const Region& cell) : input_(std::move(input)), cell_(cell) {}

    void Render(const Tile& tile) const override {
        const Region& region = tile.region;
        const std::int64_t width = std::min(region.width, cell_.width);
        const std::int64_t height = std::min(region.height, cell_.height);
        // One cell of pixels, in up to four pieces...
        for (std::int64_t y = 0; y < height;) {
            const std::int64_t fromY = Wrapped(region.y + y, cell_.y, cell_.height);
            const std::int64_t rows = std::min(height - y, cell_.Top() - fromY);
            for (std::int64_t x = 0; x < width;) {
                const std::int64_t fromX = Wrapped(region.x + x, cell_.x, cell_.width);
                const std::int64_t columns = std::min(width - x, cell_.Right() - fromX);
                const Tile place = tile.Part({region.x + x, region.y + y, columns, rows});
                input_.Render({{fromX, fromY, columns, rows}, place.pixels, place.floatsPerRow});
                x += columns;
            }
            y += rows;
        }
        // ...the rest copied from one cell to the left, then from one cell below.
        for (std::int64_t y = 0; y < height && width < region.width; ++y) {
            float* row = tile.Row(region.y + y);
            for (auto x = static_cast<std::size_t>(width); x < tile.Width(); ++x) {
                const float* from = row + (x - static_cast<std::size_t>(width)) * kFloatsPerPixel;
                std::memcpy(row + x * kFloatsPerPixel, from, kPixelBytes);
            }
        }
        for (std::int64_t y = region.y + height; y < region.Top(); ++y) {
            std::memcpy(tile.Row(y), tile.Row(y - height), tile.Width() * kPixelBytes);
        }
    }

  private:
    Prepared input_;
    Region cell_;
};

class TiledImage : public Image {
  public:
    TiledImage(ImageRef input, const Region& cell)
        : Image(Extent::Infinite(), input->GetDepth()), input_(std::move(input)), cell_(cell) {
        if (input_->Encoded() != nullptr) SetEncoded(MakeTiledImage(input_->Encoded()));
    }

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddPixels(input_, Wanted(region)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<TiledStage>(Prepare(input_, Wanted(region)), cell_);
    }

  private:
    // The part of the cell that a region shows; in a direction in which the region crosses a cell edge, all of it.
    Region Wanted(const Region& region) const {
        Region part = {Wrapped(region.x, cell_.x, cell_.width), Wrapped(region.y, cell_.y, cell_.height), region.width,
                       region.height};
        if (region.width > cell_.Right() - part.x) part.x = cell_.x, part.width = cell_.width;
        if (region.height > cell_.Top() - part.y) part.y = cell_.y, part.height = cell_.height;
        return part;
    }

    ImageRef input_;
    Region cell_;
};

// Writes a pixel several times.
void Repeat(const float* pixel, float* to, std::size_t count) {
    for (; count > 0; --count, to += kFloatsPerPixel) std::memcpy(to, pixel, kPixelBytes);
}

class ClampedStage : public Stage {
  public:
    ClampedStage(Prepared input, const Region& all) : input_(std::move(input)), all_(all) {}

    std::optional<View> Held(const Region& region) const override { return input_.Held(region); }

    void Render(const Tile& tile) const override {
        if (all_.Contains(tile.region)) {
            input_.Render(tile);
            return;
        }
        const Region shown = Nearest(tile.region, all_);
        // A tile beside the image shows nothing but its edge.
        std::optional<PixelBlock> edge;
        const Tile core = tile.region.Contains(shown) ? tile.Part(shown) : edge.emplace(shown).GetTile();
        input_.Render(core);
        const auto column = [&](std::int64_t x) {
            return static_cast<std::size_t>(std::clamp<std::int64_t>(x - tile.region.x, 0, tile.region.width));
        };
        const std::size_t begin = column(shown.x), end = column(shown.Right());
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const float* const from = core.Row(std::clamp(y, shown.y, shown.Top() - 1));
            float* const to = tile.Row(y);
            Repeat(from, to, begin);
            if (y < shown.y || y >= shown.Top()) {
                std::memcpy(to + begin * kFloatsPerPixel, from, (end - begin) * kPixelBytes);
            }
            Repeat(from + (core.Width() - 1) * kFloatsPerPixel, to + end * kFloatsPerPixel, tile.Width() - end);
        }
    }

  private:
    Prepared input_;
    Region all_;
};

class ClampedImage : public Image {
  public:
    ClampedImage(ImageRef input, const Region& all)
        : Image(Extent::Infinite(), input->GetDepth()), input_(std::move(input)), all_(all) {
        if (input_->Encoded() != nullptr) SetEncoded(MakeClampedImage(input_->Encoded()));
    }

    const ImageRef& GetInput() const { return input_; }

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddPixels(input_, Nearest(region, all_)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<ClampedStage>(Prepare(input_, Nearest(region, all_)), all_);
    }

  private:
    ImageRef input_;
    Region all_;
};

}  // namespace

Region Nearest(const Region& region, const Region& all) {
    const std::int64_t x = std::clamp(region.x, all.x, all.Right() - 1);
    const std::int64_t y = std::clamp(region.y, all.y, all.Top() - 1);
    return {x, y, std::clamp(region.Right() - 1, all.x, all.Right() - 1) + 1 - x,
            std::clamp(region.Top() - 1, all.y, all.Top() - 1) + 1 - y};
}

ImageRef MakeTiledImage(ImageRef input) {
    Region cell;
    if (!RegionOfExtent(input->GetExtent(), &cell)) return input;
    return std::make_shared<TiledImage>(std::move(input), cell);
}

ImageRef MakeClampedImage(ImageRef input) {
    Region all;
    if (!RegionOfExtent(input->GetExtent(), &all)) return input;
    return std::make_shared<ClampedImage>(std::move(input), all);
}

ImageRef InputOfClamped(const ImageRef& image) {
    const auto* clamped = dynamic_cast<const ClampedImage*>(image.Get());
    return clamped == nullptr ? nullptr : clamped->GetInput();
}

}  // namespace core_image
