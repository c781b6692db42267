// tiff_tables.cpp - reads tables, and writes them to where their values have other places.
//
// A file begins with a header, which has the place of the first table. A table has a count, entries, and the place of
// the next table. An entry has a tag, a type, a count, and the values or their place. Counts of values and places have
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

// The table that no tag refers to.
constexpr std::uint16_t kFirstTable = 0;

// The most bytes of values that are read. A few bytes can claim the whole file for each of thousands of entries.
constexpr std::uint64_t kMostBytes = 16 << 20;

// Whether a table has the place of another one under a tag.
bool Refers(std::uint16_t table, std::uint16_t tag) {
    if (table == kFirstTable) return tag == kExifTable || tag == kLocationTable;
    return table == kExifTable && tag == kInteroperabilityTable;
}

// Whether an entry of the first table is about the picture. The others say how a file stores the pixels, and belong to
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

// How a file stores its numbers, and the sizes of the parts of a table.
struct Form {
    bool isLittleEndian;
    bool isLarge;

    std::size_t PlaceSize() const { return isLarge ? 8 : 4; }  // and that of a count of values
    std::size_t CountSize() const { return isLarge ? 8 : 2; }
    std::size_t EntrySize() const { return 4 + 2 * PlaceSize(); }

    // Where the header has the place of the first table.
    std::size_t HeaderPlace() const { return isLarge ? 8 : 4; }
};

struct Values {
    std::uint16_t type;
    std::uint64_t count;
    Bytes bytes;  // in the order of the file
};

// A table by its tags, and tables by the tags that refer to them.
using Table = std::map<std::uint16_t, Values>;
using Tables = std::map<std::uint16_t, Table>;

// A file, whose header has been checked, or is too short for tables.
class TableReader {
  public:
    TableReader(const std::uint8_t* bytes, std::size_t length) : bytes_(bytes), length_(length) {
        constexpr std::uint8_t kLargeFile = 43;
        form_.isLittleEndian = length > 0 && bytes[0] == 'I';
        form_.isLarge = Number(2, 2) == kLargeFile;
    }

    const Form& FormOfFile() const { return form_; }

    // Returns the first table and those that it refers to, without what is about the storage of pixels.
    Tables Read() {
        Tables tables;
        Read(kFirstTable, FirstPlace(), &tables);
        return tables;
    }

    // Returns all entries of the first table, with their values, or with the place that these have.
    Table ReadUnresolved() const {
        Table table;
        for (const auto& [tag, entry] : Entries(FirstPlace())) {
            const std::uint8_t* const field = bytes_ + entry + 4 + form_.PlaceSize();
            table[tag] = {TypeOf(entry), CountOf(entry), Bytes(field, field + form_.PlaceSize())};
        }
        return table;
    }

  private:
    bool Holds(std::uint64_t at, std::uint64_t size) const { return size <= length_ && at <= length_ - size; }

    // Returns 0 beyond the end.
    std::uint64_t Number(std::uint64_t at, std::size_t size) const {
        return Holds(at, size) ? NumberAt(bytes_ + at, size, form_.isLittleEndian) : 0;
    }

    std::uint64_t FirstPlace() const { return Number(form_.HeaderPlace(), form_.PlaceSize()); }
    std::uint16_t TypeOf(std::uint64_t entry) const { return static_cast<std::uint16_t>(Number(entry + 2, 2)); }
    std::uint64_t CountOf(std::uint64_t entry) const { return Number(entry + 4, form_.PlaceSize()); }

    // Returns the places of the entries of a table by their tags: of the first one with each. None if the table does
    // not fit into the file.
    std::map<std::uint16_t, std::uint64_t> Entries(std::uint64_t table) const {
        std::map<std::uint16_t, std::uint64_t> entries;
        const std::uint64_t count = Number(table, form_.CountSize());
        if (count > length_ / form_.EntrySize() || !Holds(table, form_.CountSize() + count * form_.EntrySize())) {
            return entries;
        }
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t entry = table + form_.CountSize() + i * form_.EntrySize();
            entries.emplace(static_cast<std::uint16_t>(Number(entry, 2)), entry);
        }
        return entries;
    }

    // Adds the table at a place, to which a tag refers, and those that it refers to. No table is two of them.
    void Read(std::uint16_t kind, std::uint64_t place, Tables* tables) {
        if (!read_.insert(place).second) return;
        for (const auto& [tag, entry] : Entries(place)) {
            const std::uint64_t field = entry + 4 + form_.PlaceSize();
            const std::uint16_t type = TypeOf(entry);
            if (Refers(kind, tag)) {
                const bool isShort = type == kLong || type == kTable;
                Read(tag, Number(field, isShort ? 4 : form_.PlaceSize()), tables);
                continue;
            }
            const std::uint64_t count = CountOf(entry);
            if ((kind == kFirstTable && !IsDescription(tag)) || type >= std::size(kTypeSizes) || count > left_)
                continue;
            const std::uint64_t size = kTypeSizes[type] * count;
            const std::uint64_t from = size <= form_.PlaceSize() ? field : Number(field, form_.PlaceSize());
            if (size == 0 || size > left_ || !Holds(from, size)) continue;
            left_ -= size;
            (*tables)[kind][tag] = {type, count, Bytes(bytes_ + from, bytes_ + from + size)};
        }
    }

    const std::uint8_t* bytes_;
    std::uint64_t length_;
    Form form_ = {};
    std::uint64_t left_ = kMostBytes;
    std::set<std::uint64_t> read_;  // the places of tables
};

// Reverses the bytes of each number.
void Reverse(Values* values) {
    const bool isFraction = values->type == kRational || values->type == kSignedRational;
    const std::size_t size = isFraction ? 4 : kTypeSizes[values->type];
    for (auto at = values->bytes.begin(); at != values->bytes.end(); at += static_cast<std::ptrdiff_t>(size)) {
        std::reverse(at, at + static_cast<std::ptrdiff_t>(size));
    }
}

// Writes tables behind a file that has some bytes already.
class TableWriter {
  public:
    TableWriter(const Tables& tables, const Form& form, std::size_t length)
        : tables_(tables), form_(form), length_(length) {
        Align();
    }

    // Writes the table for a tag, its values, and the tables that it refers to. Returns its place.
    std::uint64_t Write(std::uint16_t kind) {
        Table table = tables_.count(kind) != 0 ? tables_.at(kind) : Table();
        for (const auto& [tag, other] : tables_) {
            if (Refers(kind, tag)) table[tag] = {form_.isLarge ? kLargeLong : kLong, 1, {}};
        }
        const std::uint64_t place = length_ + bytes_.size();
        std::size_t at = bytes_.size();
        bytes_.resize(at + form_.CountSize() + table.size() * form_.EntrySize() + form_.PlaceSize());
        Put(&at, table.size(), form_.CountSize());
        for (const auto& [tag, values] : table) {
            Put(&at, tag, 2);
            Put(&at, values.type, 2);
            Put(&at, values.count, form_.PlaceSize());
            if (Refers(kind, tag)) {
                Put(&at, Write(tag), form_.PlaceSize());
            } else if (values.bytes.size() > form_.PlaceSize()) {
                Put(&at, Append(values.bytes), form_.PlaceSize());
            } else {
                std::copy(values.bytes.begin(), values.bytes.end(), bytes_.data() + at);
                at += form_.PlaceSize();
            }
        }
        return place;
    }

    const Bytes& Written() const { return bytes_; }

  private:
    // Stores a number in a table, and moves on.
    void Put(std::size_t* at, std::uint64_t number, std::size_t size) {
        StoreNumber(number, size, form_.isLittleEndian, bytes_.data() + *at);
        *at += size;
    }

    std::uint64_t Append(const Bytes& values) {
        const std::uint64_t place = length_ + bytes_.size();
        bytes_.insert(bytes_.end(), values.begin(), values.end());
        Align();
        return place;
    }

    // Places are even.
    void Align() { bytes_.resize(bytes_.size() + (length_ + bytes_.size()) % 2); }

    const Tables& tables_;
    Form form_;
    std::size_t length_;
    Bytes bytes_;
};

// Moves the values of a tag out of the first table.
Bytes Take(std::uint16_t tag, Tables* tables) {
    auto taken = (*tables)[kFirstTable].extract(tag);
    return taken.empty() ? Bytes() : std::move(taken.mapped().bytes);
}

bool IsEmpty(const Tables& tables) {
    return std::all_of(tables.begin(), tables.end(), [](const auto& table) { return table.second.empty(); });
}

}  // namespace

void ReadMetadataOfTIFF(const std::uint8_t* bytes, std::size_t length, Metadata* metadata) {
    TableReader reader(bytes, length);
    Tables tables = reader.Read();
    const Form form = {reader.FormOfFile().isLittleEndian, /*isLarge=*/false};
    metadata->xmp = Take(kXMPPacket, &tables);
    metadata->iptc = Take(kIPTCData, &tables);
    const Bytes orientation = Take(kOrientation, &tables);
    const std::uint64_t number =
        NumberAt(orientation.data(), std::min<std::size_t>(orientation.size(), 8), form.isLittleEndian);
    metadata->orientation = number >= 1 && number <= 8 ? static_cast<int>(number) : 1;
    if (IsEmpty(tables)) return;
    const std::uint8_t order = form.isLittleEndian ? 'I' : 'M';
    metadata->exif = {order, order};
    metadata->exif.resize(8);
    StoreNumber(42, 2, form.isLittleEndian, metadata->exif.data() + 2);
    TableWriter writer(tables, form, metadata->exif.size());
    StoreNumber(writer.Write(kFirstTable), 4, form.isLittleEndian, metadata->exif.data() + 4);
    metadata->exif.insert(metadata->exif.end(), writer.Written().begin(), writer.Written().end());
}

bool AddExif(const Block& exif, TiffStream* file) {
    try {
        TableReader block(static_cast<const std::uint8_t*>(exif.bytes), exif.length);
        Tables tables = block.Read();
        // The file has its own.
        Take(kXMPPacket, &tables);
        Take(kIPTCData, &tables);
        Take(kOrientation, &tables);
        if (IsEmpty(tables)) return true;
        const TableReader reader(file->bytes, file->length);
        const Form& form = reader.FormOfFile();
        if (form.isLittleEndian != block.FormOfFile().isLittleEndian) {
            for (auto& [tag, table] : tables) {
                for (auto& [entry, values] : table) Reverse(&values);
            }
        }
        for (const auto& [tag, values] : reader.ReadUnresolved()) tables[kFirstTable][tag] = values;
        TableWriter writer(tables, form, file->length);
        const std::uint64_t place = writer.Write(kFirstTable);
        if (!Append(file, writer.Written().data(), writer.Written().size())) return false;
        StoreNumber(place, form.PlaceSize(), form.isLittleEndian, file->written + form.HeaderPlace());
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace image_io
