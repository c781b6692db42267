// exif.cpp - changes Exif blocks in place, so that offsets into a block stay right.
//
// A block is a TIFF header and image file directories (IFDs). Each IFD has a count, entries of 12 bytes and the offset
// of the next IFD. An entry has a tag, a type, a count, and four bytes with the value or its offset. IFD 1 describes a
// thumbnail.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

#include "byte_order.h"
#include "exif_tags.h"
#include "metadata.h"

namespace image_io {
namespace {

constexpr std::size_t kExifHeaderSize = 8;
constexpr std::size_t kEntrySize = 12;

// A part of a block.
struct BlockRange {
    std::size_t start, length;
};

// A block. Reading beyond its end gives 0, and writing there does nothing.
class ExifBlock {
  public:
    explicit ExifBlock(Bytes& bytes) : bytes_(bytes), isLittleEndian_(!bytes.empty() && bytes[0] == 'I') {}

    bool HasHeader() const {
        return bytes_.size() >= kExifHeaderSize &&
               (std::memcmp(bytes_.data(), "II*\0", 4) == 0 || std::memcmp(bytes_.data(), "MM\0*", 4) == 0);
    }

    std::uint32_t Get(std::size_t at, std::size_t size) const {
        return Holds(at, size) ? static_cast<std::uint32_t>(NumberAt(bytes_.data() + at, size, isLittleEndian_)) : 0;
    }

    void Set(std::size_t at, std::size_t size, std::uint32_t number) {
        if (Holds(at, size)) StoreNumber(number, size, isLittleEndian_, bytes_.data() + at);
    }

    void Clear(std::size_t at, std::size_t size) {
        if (at >= bytes_.size()) return;
        const std::size_t count = std::min(size, bytes_.size() - at);
        std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(at), count, std::uint8_t{0});
    }

    bool Holds(std::size_t at, std::size_t size) const { return size <= bytes_.size() && at <= bytes_.size() - size; }

    std::size_t Size() const { return bytes_.size(); }

    // Whether a whole IFD is at an offset.
    bool HoldsIFD(std::size_t ifd) const {
        return ifd >= kExifHeaderSize && Holds(ifd, 2) && Holds(ifd, 2 + Get(ifd, 2) * kEntrySize);
    }

    // The offset of the entry with a tag; 0 for none.
    std::size_t Find(std::size_t ifd, std::uint32_t tag) const {
        if (!HoldsIFD(ifd)) return 0;
        for (std::uint32_t i = 0; i < Get(ifd, 2); ++i) {
            const std::size_t entry = ifd + 2 + i * kEntrySize;
            if (Get(entry, 2) == tag) return entry;
        }
        return 0;
    }

    // The offset of the IFD that an entry refers to; 0 for none.
    std::size_t IFDOf(std::size_t entry) const { return entry != 0 ? Get(entry + 8, 4) : 0; }

    // Sets a number, in the type that the entry has.
    void SetNumber(std::size_t entry, std::size_t number) {
        if (entry == 0) return;
        const bool isShort = Get(entry + 2, 2) == kShort;
        Set(entry + 8, isShort ? 2 : 4, static_cast<std::uint32_t>(number));
    }

    // Clears an IFD and the values of its entries. Returns false when together they are longer than the block: then
    // some overlap, and clearing a long block once for each entry would take forever.
    [[nodiscard]] bool ClearIFD(std::size_t ifd) {
        if (!HoldsIFD(ifd)) return true;
        const std::size_t count = Get(ifd, 2);
        std::uint64_t cleared = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t entry = ifd + 2 + i * kEntrySize, type = Get(entry + 2, 2);
            const std::uint64_t values = Get(entry + 4, 4);
            const std::uint64_t size = type < std::size(kTypeSizes) ? kTypeSizes[type] * values : 0;
            cleared += size;
            if (cleared > Size()) return false;
            if (size > 4) Clear(Get(entry + 8, 4), static_cast<std::size_t>(size));
        }
        Clear(ifd, 2 + count * kEntrySize + 4);
        return true;
    }

    // Removes an entry: those behind it move up, and so does the offset of the next IFD.
    void Remove(std::size_t ifd, std::size_t entry) {
        const std::size_t end = ifd + 2 + Get(ifd, 2) * kEntrySize + 4;
        if (entry == 0 || end > bytes_.size()) return;
        const auto at = [&](std::size_t offset) { return bytes_.begin() + static_cast<std::ptrdiff_t>(offset); };
        std::copy(at(entry + kEntrySize), at(end), at(entry));
        Clear(end - kEntrySize, kEntrySize);
        Set(ifd, 2, Get(ifd, 2) - 1);
    }

    // The ranges to which two entries of an IFD refer, one with offsets and one with lengths, within the block.
    std::vector<BlockRange> Ranges(std::size_t ifd, std::uint32_t offsets, std::uint32_t lengths) const {
        std::vector<BlockRange> ranges;
        const std::size_t from = Find(ifd, offsets), to = Find(ifd, lengths);
        if (from == 0 || to == 0) return ranges;
        const std::size_t count = std::min({Get(from + 4, 4), Get(to + 4, 4), static_cast<std::uint32_t>(Size())});
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t start = std::min<std::size_t>(Number(from, i), Size());
            const std::size_t length = std::min<std::size_t>(Number(to, i), Size() - start);
            if (length > 0) ranges.push_back({start, length});
        }
        return ranges;
    }

    // Whether a range covers a part of an IFD.
    bool Covers(const BlockRange& range, std::size_t ifd) const {
        return HoldsIFD(ifd) && range.start < ifd + 2 + Get(ifd, 2) * kEntrySize + 4 &&
               ifd < range.start + range.length;
    }

  private:
    // One of the numbers of an entry.
    std::uint32_t Number(std::size_t entry, std::size_t index) const {
        const std::size_t size = Get(entry + 2, 2) == kShort ? 2 : 4;
        const std::size_t first = Get(entry + 4, 4) * std::uint64_t{size} > 4 ? Get(entry + 8, 4) : entry + 8;
        return Get(first + index * size, size);
    }

    Bytes& bytes_;
    bool isLittleEndian_;
};

// Clears the thumbnail and its IFD, and cuts the block where they were its end. Returns false for a broken IFD, and
// where the thumbnail covers the header or an IFD that stays.
[[nodiscard]] bool DropThumbnail(ExifBlock& block, std::size_t first, Bytes* exif) {
    const std::size_t link = first + 2 + block.Get(first, 2) * kEntrySize;
    const std::size_t ifd = block.Get(link, 4);
    block.Set(link, 4, 0);
    if (!block.HoldsIFD(ifd)) return true;
    // A JPEG file, or the strips of pixels that are not compressed.
    std::vector<BlockRange> pixels = block.Ranges(ifd, kThumbnail, kThumbnailLength);
    const std::vector<BlockRange> strips = block.Ranges(ifd, kStripOffsets, kStripLengths);
    pixels.insert(pixels.end(), strips.begin(), strips.end());
    if (!block.ClearIFD(ifd)) return false;
    const std::size_t ifds[] = {first, block.IFDOf(block.Find(first, kExifIFD)),
                                block.IFDOf(block.Find(first, kLocationIFD))};
    std::size_t cleared = 0;
    for (const BlockRange& range : pixels) {
        // Ranges that overlap are refused for the same reason as values.
        if (range.length > block.Size() - cleared || range.start < kExifHeaderSize) return false;
        cleared += range.length;
        for (const std::size_t kept : ifds) {
            if (block.Covers(range, kept)) return false;
        }
        block.Clear(range.start, range.length);
    }
    for (const BlockRange& range : pixels) {
        if (range.start > ifd && range.start + range.length >= exif->size()) {
            exif->resize(std::min(range.start, exif->size()));
        }
    }
    return true;
}

}  // namespace

int OrientationIn(const Metadata& metadata) {
    if (metadata.orientation != 0) return metadata.orientation;
    Bytes exif = metadata.exif;
    const ExifBlock block(exif);
    if (!block.HasHeader()) return 0;
    const std::size_t entry = block.Find(block.Get(4, 4), kOrientation);
    if (entry == 0 || block.Get(entry + 2, 2) != kShort) return 0;
    const std::uint32_t orientation = block.Get(entry + 8, 2);
    return orientation >= 1 && orientation <= 8 ? static_cast<int>(orientation) : 0;
}

bool AdaptExif(Bytes* exif, const Adaptation& adaptation) {
    ExifBlock block(*exif);
    const std::size_t first = block.HasHeader() ? block.Get(4, 4) : 0;
    if (!block.HoldsIFD(first)) return false;
    if (!DropThumbnail(block, first, exif)) return false;
    block.SetNumber(block.Find(first, kOrientation), 1);
    block.SetNumber(block.Find(first, kImageWidth), adaptation.width);
    block.SetNumber(block.Find(first, kImageLength), adaptation.height);
    const std::size_t details = block.IFDOf(block.Find(first, kExifIFD));
    block.SetNumber(block.Find(details, kPixelWidth), adaptation.width);
    block.SetNumber(block.Find(details, kPixelHeight), adaptation.height);
    if (!adaptation.dropsLocation) return true;
    const std::size_t entry = block.Find(first, kLocationIFD);
    const std::size_t location = block.IFDOf(entry);
    // Before the IFD is cleared, which may be a part of the first one.
    block.Remove(first, entry);
    if (!block.ClearIFD(location)) return false;
    // A second entry, or an IFD that is not where it should be, may still hold the location.
    return block.Find(first, kLocationIFD) == 0;
}

}  // namespace image_io
