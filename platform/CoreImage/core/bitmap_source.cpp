// bitmap_source.cpp - decodes the pixels of a bitmap into linear light; compiled once per instruction set.

#include <cstring>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "core/bitmap.h"
#include "core/color_matching.h"
#include "core/image.h"
#include "core/reduced_picture.h"
#include "core/transfer.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/bitmap_source.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

using IntegerTag = hn::RebindToSigned<WideTag>;
using Integers = hn::Vec<IntegerTag>;

HWY_INLINE Integers ByteOf(Integers pixels, int shift) {
    const IntegerTag d;
    return hn::And(hn::ShiftRightSame(pixels, shift), hn::Set(d, 255));
}

HWY_INLINE Wide FractionOf(Integers byte) { return hn::Mul(hn::ConvertTo(WideTag(), byte), Constant(1.0f / 255)); }

// The linear light of pixels, which hold red in their lowest bits. The tables are those of transfer.h; null means
// linear bytes.
HWY_INLINE Colors Decode(Integers pixels, Alpha kind, const float* plain, const float* premultiplied) {
    const IntegerTag d;
    const Integers alpha = kind == Alpha::kIgnored ? hn::Set(d, 255) : ByteOf(pixels, 24);
    const auto each = [&](const auto& decode) HWY_ATTR {
        return Colors{decode(ByteOf(pixels, 0)), decode(ByteOf(pixels, 8)), decode(ByteOf(pixels, 16)),
                      FractionOf(alpha)};
    };
    const bool isOpaque = hn::AllTrue(d, hn::Eq(alpha, hn::Set(d, 255)));
    Colors c;
    if (plain == nullptr) {
        c = each([](Integers byte) HWY_ATTR { return FractionOf(byte); });
    } else if (isOpaque || kind == Alpha::kStraight) {
        c = each([&](Integers byte) HWY_ATTR { return hn::GatherIndex(WideTag(), plain, byte); });
    } else {
        const Integers row = hn::ShiftLeft<8>(alpha);
        return each([&](Integers byte)
                        HWY_ATTR { return hn::GatherIndex(WideTag(), premultiplied, hn::Add(row, byte)); });
    }
    if (kind == Alpha::kStraight && !isOpaque) Premultiply(c);
    return c;
}

HWY_ATTR void DecodeBytes(const std::uint8_t* from, Alpha kind, const float* plain, const float* premultiplied,
                          float* blocks, std::size_t count) {
    const IntegerTag d;
    HWY_ALIGN std::int32_t last[kBlockPixels] = {};
    for (std::size_t pixel = 0; pixel < count; pixel += kBlockPixels, from += 4 * kBlockPixels) {
        const auto* pixels = reinterpret_cast<const std::int32_t*>(from);
        if (count - pixel < kBlockPixels) {
            std::memcpy(last, from, 4 * (count - pixel));
            pixels = last;
        }
        for (std::size_t lane = 0; lane < kBlockPixels; lane += hn::MaxLanes(d)) {
            StoreColors(Decode(hn::LoadU(d, pixels + lane), kind, plain, premultiplied), blocks + 4 * pixel + lane);
        }
    }
}

// Premultiplies words, and leaves them as they are encoded.
HWY_ATTR void ReadWords(const std::uint8_t* from, Alpha kind, float* blocks, std::size_t count) {
    constexpr std::size_t kWordsPerBlock = kBlockPixels * kFloatsPerPixel;
    const WideTag d;
    const hn::Rebind<std::uint16_t, WideTag> halves;
    const IntegerTag integers;
    for (std::size_t pixel = 0; pixel < count; pixel += kBlockPixels) {
        HWY_ALIGN std::uint16_t words[kWordsPerBlock] = {};
        HWY_ALIGN float fractions[kWordsPerBlock];
        std::memcpy(words, from + 8 * pixel, 8 * std::min(kBlockPixels, count - pixel));
        for (std::size_t i = 0; i < kWordsPerBlock; i += hn::MaxLanes(d)) {
            const Wide word = hn::ConvertTo(d, hn::PromoteTo(integers, hn::Load(halves, words + i)));
            hn::Store(hn::Mul(word, Constant(1.0f / 65535)), d, fractions + i);
        }
        for (std::size_t lane = 0; lane < kBlockPixels; lane += hn::MaxLanes(d)) {
            Colors c;
            hn::LoadInterleaved4(d, fractions + 4 * lane, c.red, c.green, c.blue, c.alpha);
            if (kind == Alpha::kIgnored) c.alpha = Constant(1);
            if (kind == Alpha::kStraight) Premultiply(c);
            StoreColors(c, blocks + 4 * pixel + lane);
        }
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(DecodeBytes);
HWY_EXPORT(ReadWords);

class BitmapStage : public Stage {
  public:
    explicit BitmapStage(const BitmapSource& source) : source_(source) {}

    bool IsPointwise() const override { return true; }

    std::optional<View> Held(const Region& region) const override {
        constexpr std::size_t kAlignment = alignof(float);
        const auto address = reinterpret_cast<std::uintptr_t>(source_.pixels);
        if (source_.format != PixelFormat::kFloats || source_.transfer != Transfer::kLinear ||
            (address | source_.bytesPerRow) % kAlignment != 0) {
            return std::nullopt;
        }
        const auto height = static_cast<std::int64_t>(source_.height);
        const auto floatsPerRow = static_cast<std::ptrdiff_t>(source_.bytesPerRow / sizeof(float));
        const float* top = static_cast<const float*>(source_.pixels);
        const View all = {{0, 0, static_cast<std::int64_t>(source_.width), height},
                          top + static_cast<std::ptrdiff_t>(height - 1) * floatsPerRow,
                          -floatsPerRow};
        return all.Part(region);
    }

    void Render(const Tile& tile) const override {
        if (source_.format != PixelFormat::kFloats || source_.transfer == Transfer::kSRGB) {
            RenderByRuns(*this, tile);
            return;
        }
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            std::memcpy(tile.Row(y), Place(tile.region.x, y), tile.Width() * kPixelBytes);
        }
    }

    void RenderRun(const Run& run, float* blocks, float*) const override {
        const std::uint8_t* from = Place(run.x, run.y);
        const bool isEncoded = source_.transfer == Transfer::kSRGB;
        if (source_.format == PixelFormat::kBytes) {
            const float* plain = isEncoded ? DecodedBytes() : nullptr;
            const bool isDivided = isEncoded && source_.alpha == Alpha::kPremultiplied;
            HWY_DYNAMIC_DISPATCH(DecodeBytes)
            (from, source_.alpha, plain, isDivided ? DecodedPremultipliedBytes() : nullptr, blocks, run.count);
            return;
        }
        if (source_.format == PixelFormat::kWords) {
            HWY_DYNAMIC_DISPATCH(ReadWords)(from, source_.alpha, blocks, run.count);
        } else {
            ToBlocks(reinterpret_cast<const float*>(from), run.count, blocks);
        }
        if (isEncoded) DecodeRun(blocks, run.count);
    }

  private:
    const std::uint8_t* Place(std::int64_t x, std::int64_t y) const {
        const std::size_t row = source_.height - 1 - static_cast<std::size_t>(y);
        return static_cast<const std::uint8_t*>(source_.pixels) + row * source_.bytesPerRow +
               static_cast<std::size_t>(x) * SizeOfPixel(source_.format);
    }

    BitmapSource source_;
};

// Shows rows in strips; each is a bitmap of its own.
class StreamedStage : public Stage {
  public:
    // The strips contain all rows of the region to be rendered.
    StreamedStage(const BitmapSource& source, RowWindow::Strips strips, std::size_t rowsPerStrip)
        : strips_(std::move(strips)), rowsPerStrip_(rowsPerStrip), height_(source.height) {
        stages_.reserve(strips_.size());
        for (const std::shared_ptr<const RowStrip>& strip : strips_) {
            BitmapSource part = source;
            part.pixels = strip->Bytes();
            part.height = strip->Count();
            stages_.emplace_back(part);
        }
    }

    bool IsPointwise() const override { return true; }

    void Render(const Tile& tile) const override { RenderByRuns(*this, tile); }

    void RenderRun(const Run& run, float* blocks, float* spare) const override {
        const std::size_t row = height_ - 1 - static_cast<std::size_t>(run.y);
        const std::size_t index = (row - strips_.front()->First()) / rowsPerStrip_;
        const RowStrip& strip = *strips_[index];
        const auto y = static_cast<std::int64_t>(strip.First() + strip.Count() - 1 - row);
        stages_[index].RenderRun({run.x, y, run.count}, blocks, spare);
    }

  private:
    RowWindow::Strips strips_;
    std::vector<BitmapStage> stages_;
    std::size_t rowsPerStrip_;
    std::size_t height_;
};

class BitmapImage : public Image {
  public:
    // Either the owner or the rows are null.
    BitmapImage(const BitmapSource& source, std::shared_ptr<const void> owner, std::shared_ptr<RowWindow> rows,
                const ReducedImages& reduced, bool isEncoded)
        : Image({0, 0, static_cast<double>(source.width), static_cast<double>(source.height)}, /*depthBelow=*/{}),
          source_(source),
          numbers_(source),
          owner_(std::move(owner)),
          rows_(std::move(rows)),
          reduced_(reduced),
          isEncoded_(isEncoded) {
        numbers_.transfer = Transfer::kLinear;
        if (isEncoded_ || source_.transfer == Transfer::kLinear) return;
        SetEncoded(std::make_shared<BitmapImage>(source_, owner_, rows_, ReducedImages{}, /*isEncoded=*/true));
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        if (WorkingCoding()) {
            return MakeWorkingStage({GetExtent(), StageOf(source_, region), /*levels=*/1}, region);
        }
        return StageOf(IsMatching() && !isEncoded_ ? source_ : numbers_, region);
    }

    ReducedImage Reduced(double shrinks) const override {
        for (std::size_t index = reduced_.size(); index-- > 0;) {
            const std::size_t factor = std::size_t{2} << index;
            if (reduced_[index] == nullptr || shrinks < 2 * static_cast<double>(factor)) continue;
            const auto& reduced = static_cast<const BitmapImage&>(*reduced_[index]);
            if (!LooksLikeWhole(Rows(), reduced.Rows(), factor, shrinks)) continue;
            const double scaled = static_cast<double>(factor) * reduced.GetExtent().top;
            return {reduced_[index], static_cast<int>(factor), GetExtent().top - scaled};
        }
        return {};
    }

  private:
    DecodedRows Rows() const { return {rows_.get(), source_.width, source_.height}; }

    std::unique_ptr<const Stage> StageOf(const BitmapSource& source, const Region& region) const {
        if (rows_ == nullptr) return std::make_unique<BitmapStage>(source);
        const auto height = static_cast<std::int64_t>(source.height);
        return std::make_unique<StreamedStage>(source,
                                               rows_->Rows(static_cast<std::size_t>(height - region.Top()),
                                                           static_cast<std::size_t>(height - 1 - region.y)),
                                               rows_->RowsPerStrip());
    }

    BitmapSource source_;
    BitmapSource numbers_;  // the same source, but its numbers are read as stored
    std::shared_ptr<const void> owner_;
    std::shared_ptr<RowWindow> rows_;
    ReducedImages reduced_;
    bool isEncoded_;  // whether this is the image of the numbers, not of the light that they encode
};

}  // namespace

ImageRef MakeBitmapImage(const BitmapSource& source, std::shared_ptr<const void> owner) {
    return std::make_shared<BitmapImage>(source, std::move(owner), /*rows=*/nullptr, ReducedImages{},
                                         /*isEncoded=*/false);
}

ImageRef MakeStreamedImage(const BitmapSource& source, std::shared_ptr<RowWindow> rows, const ReducedImages& reduced) {
    return std::make_shared<BitmapImage>(source, /*owner=*/nullptr, std::move(rows), reduced, /*isEncoded=*/false);
}

}  // namespace core_image
#endif
