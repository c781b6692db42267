// tiff_tables.cpp - reads image file directories (IFDs), and writes them to where their values have other offsets.
//
// A file begins with a header, which has the offset of the first IFD. An IFD has a count, entries, and the offset of
// the next IFD. An entry has a tag, a type, a count, and the values or their offset. Counts of values and offsets have
// 8 bytes in files for more than 4 GB, and 4 in others.

#include "tiff_tables.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <new>
#include <set>
#include <utility>

#include "byte_order.h"
#include "exif_tags.h"

namespace image_io {
namespace {

// The IFD that no tag refers to.
constexpr std::uint16_t kFirstIFD = 0;

// The most bytes of values that are read. A few bytes can claim the whole file for each of thousands of entries.
constexpr std::uint64_t kMostBytes = 16 << 20;

// Whether an IFD has the offset of another one under a tag.
bool Refers(std::uint16_t ifd, std::uint16_t tag) {
    if (ifd == kFirstIFD) return tag == kExifIFD || tag == kLocationIFD;
    return ifd == kExifIFD && tag == kInteroperabilityIFD;
}

// Whether an entry of the first IFD is about the picture. The others say how a file stores the pixels, and belong to
// one size, or are unknown and may tell a location.
bool IsDescription(std::uint16_t tag) {
    struct Tags {
        std::uint16_t first, last;
    };
    constexpr Tags kDescriptions[] = {
        {0x010d, 0x0110},  // name, description, make and model of the camera
        {0x011a, 0x011b},  // resolution
        {0x0128, 0x0128},  // its unit
        {0x0131, 0x0132},  // program, date
        {0x013b, 0x013c},  // artist, computer
        {0x4746, 0x4746},  // rating
        {0x4749, 0x4749},  // rating in percent
        {0x8298, 0x8298},  // copyright
        {0x829a, 0x829a},  // exposure time
        {0x829d, 0x829d},  // f-number
        {0x8822, 0x8822},  // exposure program
        {0x8827, 0x8827},  // sensitivity
        {0x9000, 0x92ff},  // details of the exposure, which some programs store here
        {0x9c9b, 0x9c9f},  // title, comment, author, keywords and subject
        {kXMPPacket, kXMPPacket}, {kIPTCData, kIPTCData}, {kOrientation, kOrientation},
    };
    return std::any_of(std::begin(kDescriptions), std::end(kDescriptions),
                       [&](const Tags& tags) { return tag >= tags.first && tag <= tags.last; });
}

// How a file stores its numbers, and the sizes of the parts of an IFD.
struct Form {
    bool isLittleEndian;
    bool isLarge;

    std::size_t OffsetSize() const { return isLarge ? 8 : 4; }  // and that of a count of values
    std::size_t CountSize() const { return isLarge ? 8 : 2; }
    std::size_t EntrySize() const { return 4 + 2 * OffsetSize(); }

    // Where the header has the offset of the first IFD.
    std::size_t OffsetInHeader() const { return isLarge ? 8 : 4; }
};

struct Values {
    std::uint16_t type;
    std::uint64_t count;
    Bytes bytes;  // in the order of the file
};

// An IFD by its tags, and IFDs by the tags that refer to them.
using IFD = std::map<std::uint16_t, Values>;
using IFDs = std::map<std::uint16_t, IFD>;

// A file, whose header has been checked, or is too short for IFDs.
class IFDReader {
  public:
    IFDReader(const std::uint8_t* bytes, std::size_t length) : bytes_(bytes), length_(length) {
        constexpr std::uint8_t kLargeFile = 43;
        form_.isLittleEndian = length > 0 && bytes[0] == 'I';
        form_.isLarge = Number(2, 2) == kLargeFile;
    }

    const Form& FormOfFile() const { return form_; }

    // Returns the first IFD and those that it refers to, without what is about the storage of pixels.
    IFDs Read() {
        IFDs ifds;
        Read(kFirstIFD, FirstOffset(), &ifds);
        return ifds;
    }

    // Returns all entries of the first IFD, with their values, or with the offset that these have.
    IFD ReadUnresolved() const {
        IFD ifd;
        for (const auto& [tag, entry] : Entries(FirstOffset())) {
            const std::uint8_t* const field = bytes_ + entry + 4 + form_.OffsetSize();
            ifd[tag] = {TypeOf(entry), CountOf(entry), Bytes(field, field + form_.OffsetSize())};
        }
        return ifd;
    }

    // The number of IFDs in the chain of the first one, without smaller versions and masks of others.
    std::size_t CountPictures() const {
        constexpr std::uint64_t kIsSmaller = 1, kIsMask = 4;
        std::size_t count = 0;
        std::set<std::uint64_t> counted;
        for (std::uint64_t ifd = FirstOffset(); ifd != 0 && counted.insert(ifd).second;) {
            const auto entries = Entries(ifd);
            const auto type = entries.find(kSubfileType);
            const std::uint64_t flags =
                type != entries.end() ? Number(type->second + 4 + form_.OffsetSize(), 4) : std::uint64_t{0};
            if ((flags & (kIsSmaller | kIsMask)) == 0) ++count;
            ifd = Number(ifd + form_.CountSize() + Number(ifd, form_.CountSize()) * form_.EntrySize(),
                         form_.OffsetSize());
        }
        return count;
    }

  private:
    bool Holds(std::uint64_t at, std::uint64_t size) const { return size <= length_ && at <= length_ - size; }

    // Returns 0 beyond the end.
    std::uint64_t Number(std::uint64_t at, std::size_t size) const {
        return Holds(at, size) ? NumberAt(bytes_ + at, size, form_.isLittleEndian) : 0;
    }

    std::uint64_t FirstOffset() const { return Number(form_.OffsetInHeader(), form_.OffsetSize()); }
    std::uint16_t TypeOf(std::uint64_t entry) const { return static_cast<std::uint16_t>(Number(entry + 2, 2)); }
    std::uint64_t CountOf(std::uint64_t entry) const { return Number(entry + 4, form_.OffsetSize()); }

    // Returns the offsets of the entries of an IFD by their tags: of the first one with each. None if the IFD does not
    // fit into the file.
    std::map<std::uint16_t, std::uint64_t> Entries(std::uint64_t ifd) const {
        std::map<std::uint16_t, std::uint64_t> entries;
        const std::uint64_t count = Number(ifd, form_.CountSize());
        if (count > length_ / form_.EntrySize() || !Holds(ifd, form_.CountSize() + count * form_.EntrySize())) {
            return entries;
        }
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t entry = ifd + form_.CountSize() + i * form_.EntrySize();
            entries.emplace(static_cast<std::uint16_t>(Number(entry, 2)), entry);
        }
        return entries;
    }

    // Adds the IFD at an offset, to which a tag refers, and those that it refers to. No IFD is two of them.
    void Read(std::uint16_t kind, std::uint64_t offset, IFDs* ifds) {
        if (!read_.insert(offset).second) return;
        for (const auto& [tag, entry] : Entries(offset)) {
            const std::uint64_t field = entry + 4 + form_.OffsetSize();
            const std::uint16_t type = TypeOf(entry);
            if (Refers(kind, tag)) {
                const bool isShort = type == kLong || type == kIFD;
                Read(tag, Number(field, isShort ? 4 : form_.OffsetSize()), ifds);
                continue;
            }
            const std::uint64_t count = CountOf(entry);
            if ((kind == kFirstIFD && !IsDescription(tag)) || type >= std::size(kTypeSizes) || count > left_) continue;
            const std::uint64_t size = kTypeSizes[type] * count;
            const std::uint64_t from = size <= form_.OffsetSize() ? field : Number(field, form_.OffsetSize());
            if (size == 0 || size > left_ || !Holds(from, size)) continue;
            left_ -= size;
            (*ifds)[kind][tag] = {type, count, Bytes(bytes_ + from, bytes_ + from + size)};
        }
    }

    const std::uint8_t* bytes_;
    std::uint64_t length_;
    Form form_ = {};
    std::uint64_t left_ = kMostBytes;
    std::set<std::uint64_t> read_;  // the offsets of IFDs
};

// Reverses the bytes of each number.
void Reverse(Values* values) {
    const bool isFraction = values->type == kRational || values->type == kSignedRational;
    const std::size_t size = isFraction ? 4 : kTypeSizes[values->type];
    for (auto at = values->bytes.begin(); at != values->bytes.end(); at += static_cast<std::ptrdiff_t>(size)) {
        std::reverse(at, at + static_cast<std::ptrdiff_t>(size));
    }
}

// Writes IFDs behind a file that has some bytes already.
class IFDWriter {
  public:
    IFDWriter(const IFDs& ifds, const Form& form, std::size_t length) : ifds_(ifds), form_(form), length_(length) {
        Align();
    }

    // Writes the IFD for a tag, its values, and the IFDs that it refers to. Returns its offset.
    std::uint64_t Write(std::uint16_t kind) {
        IFD ifd = ifds_.count(kind) != 0 ? ifds_.at(kind) : IFD();
        for (const auto& [tag, other] : ifds_) {
            if (Refers(kind, tag)) ifd[tag] = {form_.isLarge ? kLargeLong : kLong, 1, {}};
        }
        const std::uint64_t offset = length_ + bytes_.size();
        std::size_t at = bytes_.size();
        bytes_.resize(at + form_.CountSize() + ifd.size() * form_.EntrySize() + form_.OffsetSize());
        Put(&at, ifd.size(), form_.CountSize());
        for (const auto& [tag, values] : ifd) {
            Put(&at, tag, 2);
            Put(&at, values.type, 2);
            Put(&at, values.count, form_.OffsetSize());
            if (Refers(kind, tag)) {
                Put(&at, Write(tag), form_.OffsetSize());
            } else if (values.bytes.size() > form_.OffsetSize()) {
                Put(&at, Append(values.bytes), form_.OffsetSize());
            } else {
                std::copy(values.bytes.begin(), values.bytes.end(), bytes_.data() + at);
                at += form_.OffsetSize();
            }
        }
        return offset;
    }

    const Bytes& Written() const { return bytes_; }

  private:
    // Stores a number in an IFD, and moves on.
    void Put(std::size_t* at, std::uint64_t number, std::size_t size) {
        StoreNumber(number, size, form_.isLittleEndian, bytes_.data() + *at);
        *at += size;
    }

    std::uint64_t Append(const Bytes& values) {
        const std::uint64_t offset = length_ + bytes_.size();
        bytes_.insert(bytes_.end(), values.begin(), values.end());
        Align();
        return offset;
    }

    // Offsets are even.
    void Align() { bytes_.resize(bytes_.size() + (length_ + bytes_.size()) % 2); }

    const IFDs& ifds_;
    Form form_;
    std::size_t length_;
    Bytes bytes_;
};

// Moves the values of a tag out of the first IFD.
Bytes Take(std::uint16_t tag, IFDs* ifds) {
    auto taken = (*ifds)[kFirstIFD].extract(tag);
    return taken.empty() ? Bytes() : std::move(taken.mapped().bytes);
}

bool IsEmpty(const IFDs& ifds) {
    return std::all_of(ifds.begin(), ifds.end(), [](const auto& ifd) { return ifd.second.empty(); });
}

}  // namespace

void ReadMetadataOfTIFF(const std::uint8_t* bytes, std::size_t length, Metadata* metadata) {
    IFDReader reader(bytes, length);
    IFDs ifds = reader.Read();
    metadata->pictures = reader.CountPictures();
    const Form form = {reader.FormOfFile().isLittleEndian, /*isLarge=*/false};
    metadata->xmp = Take(kXMPPacket, &ifds);
    metadata->iptc = Take(kIPTCData, &ifds);
    const Bytes orientation = Take(kOrientation, &ifds);
    const std::uint64_t number =
        NumberAt(orientation.data(), std::min<std::size_t>(orientation.size(), 8), form.isLittleEndian);
    metadata->orientation = number >= 1 && number <= 8 ? static_cast<int>(number) : 1;
    if (IsEmpty(ifds)) return;
    const std::uint8_t order = form.isLittleEndian ? 'I' : 'M';
    metadata->exif = {order, order};
    metadata->exif.resize(8);
    StoreNumber(42, 2, form.isLittleEndian, metadata->exif.data() + 2);
    IFDWriter writer(ifds, form, metadata->exif.size());
    StoreNumber(writer.Write(kFirstIFD), 4, form.isLittleEndian, metadata->exif.data() + 4);
    metadata->exif.insert(metadata->exif.end(), writer.Written().begin(), writer.Written().end());
}

bool AddExif(const Block& exif, TiffStream* file) {
    try {
        IFDReader block(static_cast<const std::uint8_t*>(exif.bytes), exif.length);
        IFDs ifds = block.Read();
        // The file has its own.
        Take(kXMPPacket, &ifds);
        Take(kIPTCData, &ifds);
        Take(kOrientation, &ifds);
        if (IsEmpty(ifds)) return true;
        const IFDReader reader(file->bytes, file->length);
        const Form& form = reader.FormOfFile();
        if (form.isLittleEndian != block.FormOfFile().isLittleEndian) {
            for (auto& [tag, ifd] : ifds) {
                for (auto& [entry, values] : ifd) Reverse(&values);
            }
        }
        for (const auto& [tag, values] : reader.ReadUnresolved()) ifds[kFirstIFD][tag] = values;
        IFDWriter writer(ifds, form, file->length);
        const std::uint64_t offset = writer.Write(kFirstIFD);
        if (!Append(file, writer.Written().data(), writer.Written().size())) return false;
        StoreNumber(offset, form.OffsetSize(), form.isLittleEndian, file->written + form.OffsetInHeader());
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace image_io
