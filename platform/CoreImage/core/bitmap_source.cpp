// bitmap_source.cpp - decodes the pixels of a bitmap into linear light.

#include <cstring>
#include <utility>

#include "core/bitmap.h"
#include "core/colour_matching.h"

namespace core_image {
namespace {

constexpr float kByteScale = 1.0f / 255;

// A pixel of bytes whose numbers are linear.
void DecodeLinearByte(const std::uint8_t* from, Alpha kind, float* to) {
    const float alpha = kind == Alpha::ignored ? 1.0f : static_cast<float>(from[3]) * kByteScale;
    const float scale = kind == Alpha::straight ? alpha * kByteScale : kByteScale;
    for (int channel = 0; channel < 3; ++channel) to[channel] = static_cast<float>(from[channel]) * scale;
    to[3] = alpha;
}

void DecodeByteRow(const BitmapSource& source, const std::uint8_t* from, float* to, std::size_t count) {
    const float* decoded = DecodedBytes();
    const float* premultiplied = source.alpha == Alpha::premultiplied ? DecodedPremultipliedBytes() : nullptr;
    for (std::size_t index = 0; index < count; ++index, from += kFloatsPerPixel, to += kFloatsPerPixel) {
        if (source.transfer == Transfer::linear) {
            DecodeLinearByte(from, source.alpha, to);
        } else if (source.alpha == Alpha::ignored || from[3] == 255) {
            for (int channel = 0; channel < 3; ++channel) to[channel] = decoded[from[channel]];
            to[3] = 1;
        } else {
            const float alpha = static_cast<float>(from[3]) * kByteScale;
            const float* multiplied = premultiplied == nullptr ? nullptr : premultiplied + from[3] * 256;
            for (int channel = 0; channel < 3; ++channel) {
                to[channel] = multiplied == nullptr ? decoded[from[channel]] * alpha : multiplied[from[channel]];
            }
            to[3] = alpha;
        }
    }
}

class BitmapStage : public Stage {
  public:
    explicit BitmapStage(const BitmapSource& source) : source_(source) {}

    bool isPointwise() const override { return true; }

    std::optional<View> held(const Region& region) const override {
        constexpr std::size_t kAlignment = alignof(float);
        const auto address = reinterpret_cast<std::uintptr_t>(source_.pixels);
        if (source_.format != PixelFormat::floats || source_.transfer != Transfer::linear ||
            (address | source_.bytesPerRow) % kAlignment != 0) {
            return std::nullopt;
        }
        const auto height = static_cast<std::int64_t>(source_.height);
        const auto floatsPerRow = static_cast<std::ptrdiff_t>(source_.bytesPerRow / sizeof(float));
        const float* top = static_cast<const float*>(source_.pixels);
        const View all = {{0, 0, static_cast<std::int64_t>(source_.width), height},
                          top + static_cast<std::ptrdiff_t>(height - 1) * floatsPerRow,
                          -floatsPerRow};
        return all.part(region);
    }

    void render(const Tile& tile) const override {
        if (source_.format == PixelFormat::floats && source_.transfer == Transfer::sRGB) {
            RenderByRuns(*this, tile);
            return;
        }
        for (std::int64_t y = tile.region.y; y < tile.region.top(); ++y) {
            const std::uint8_t* from = place(tile.region.x, y);
            if (source_.format == PixelFormat::bytes) {
                DecodeByteRow(source_, from, tile.row(y), tile.width());
            } else {
                std::memcpy(tile.row(y), from, tile.width() * kFloatsPerPixel * sizeof(float));
            }
        }
    }

    void renderRun(const Run& run, float* blocks, float* spare) const override {
        if (source_.format == PixelFormat::bytes) {
            Stage::renderRun(run, blocks, spare);
            return;
        }
        ToBlocks(reinterpret_cast<const float*>(place(run.x, run.y)), run.count, blocks);
        if (source_.transfer == Transfer::sRGB) DecodeRun(blocks, run.count);
    }

  private:
    const std::uint8_t* place(std::int64_t x, std::int64_t y) const {
        const std::size_t row = source_.height - 1 - static_cast<std::size_t>(y);
        return static_cast<const std::uint8_t*>(source_.pixels) + row * source_.bytesPerRow +
               static_cast<std::size_t>(x) * SizeOfPixel(source_.format);
    }

    const BitmapSource& source_;  // of the image, which outlives the rendering
};

class BitmapImage : public Image {
  public:
    BitmapImage(const BitmapSource& source, std::shared_ptr<const void> owner)
        : Image({0, 0, static_cast<double>(source.width), static_cast<double>(source.height)}, /*depthBelow=*/{}),
          source_(source),
          numbers_(source),
          owner_(std::move(owner)) {
        numbers_.transfer = Transfer::linear;
    }

    std::unique_ptr<const Stage> prepare(const Region&) const override {
        return std::make_unique<BitmapStage>(IsMatching() ? source_ : numbers_);
    }

    ImageRef encoded() const override {
        if (source_.transfer == Transfer::linear) return nullptr;
        return MakeBitmapImage(numbers_, owner_);
    }

  private:
    BitmapSource source_;
    BitmapSource numbers_;  // the same, its numbers as they are stored
    std::shared_ptr<const void> owner_;
};

}  // namespace

ImageRef MakeBitmapImage(const BitmapSource& source, std::shared_ptr<const void> owner) {
    return std::make_shared<BitmapImage>(source, std::move(owner));
}

}  // namespace core_image
