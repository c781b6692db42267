// deflate_runs.cpp - each block is read twice: to find its runs and to count its symbols, and to write their codes.

#include "deflate_runs.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>

namespace image_io {
namespace {

constexpr std::size_t kBlockBytes = 65535;  // the most that a block that is not compressed can hold
constexpr std::size_t kLiterals = 256, kEndOfBlock = 256, kFirstLength = 257, kSymbols = 286;
constexpr unsigned kLongestCode = 15;

// The format has runs from three bytes on. Runs that short save nothing in photos, whose most frequent bytes have short
// codes, and each one costs time.
constexpr std::size_t kShortestRun = 8, kLongestRun = 258;

// A code, its first bit lowest.
struct Code {
    std::uint16_t bits = 0;
    std::uint16_t length = 0;  // 0 for a symbol that does not occur
};

// The lengths of Huffman's codes of symbols that occur so often; at least two do.
template <std::size_t kCount>
std::array<std::uint8_t, kCount> CodeLengths(std::array<std::uint32_t, kCount> occurrences, unsigned longest) {
    std::array<std::uint8_t, kCount> lengths;
    do {
        lengths = {};
        // Symbols from the rarest to the most frequent one, then the nodes above them, which come in this order too.
        std::array<std::uint16_t, kCount> symbols;
        std::array<std::uint32_t, 2 * kCount> weights;
        std::array<std::uint16_t, 2 * kCount> parents;
        std::size_t used = 0;
        for (std::size_t symbol = 0; symbol < kCount; ++symbol) {
            if (occurrences[symbol] != 0) symbols[used++] = static_cast<std::uint16_t>(symbol);
        }
        std::sort(symbols.begin(), symbols.begin() + used, [&](std::uint16_t a, std::uint16_t b) {
            return occurrences[a] != occurrences[b] ? occurrences[a] < occurrences[b] : a < b;
        });
        for (std::size_t i = 0; i < used; ++i) weights[i] = occurrences[symbols[i]];
        std::size_t leaf = 0, inner = used, last = used;
        const auto lightest = [&] {
            return leaf < used && (inner == last || weights[leaf] <= weights[inner]) ? leaf++ : inner++;
        };
        for (; last + 1 < 2 * used; ++last) {
            const std::size_t first = lightest(), second = lightest();
            weights[last] = weights[first] + weights[second];
            parents[first] = parents[second] = static_cast<std::uint16_t>(last);
        }
        std::array<unsigned, 2 * kCount> depths;
        depths[last - 1] = 0;
        for (std::size_t node = last - 1; node-- > 0;) depths[node] = depths[parents[node]] + 1;
        for (std::size_t i = 0; i < used; ++i)
            lengths[symbols[i]] = static_cast<std::uint8_t>(std::min(depths[i], 255u));
        // A code that is too long belongs to a rare symbol: with weights closer to each other it becomes shorter.
        for (std::uint32_t& count : occurrences) count = (count + 1) / 2;
    } while (*std::ranges::max_element(lengths) > longest);
    return lengths;
}

// The codes of the format for such lengths: ordered by length, then by symbol.
template <std::size_t kCount>
std::array<Code, kCount> CodesOf(const std::array<std::uint8_t, kCount>& lengths) {
    std::array<Code, kCount> codes;
    unsigned next = 0;
    for (unsigned length = 1; length <= kLongestCode; ++length, next <<= 1) {
        for (std::size_t symbol = 0; symbol < kCount; ++symbol) {
            if (lengths[symbol] != length) continue;
            unsigned bits = 0;
            for (unsigned bit = 0; bit < length; ++bit) bits |= (next >> bit & 1) << (length - 1 - bit);
            codes[symbol] = {static_cast<std::uint16_t>(bits), static_cast<std::uint16_t>(length)};
            ++next;
        }
    }
    return codes;
}

// A symbol with a number behind its code.
struct Symbol {
    std::uint16_t value;
    std::uint8_t extraBits;
    std::uint8_t extra;
};

Symbol SymbolOfRun(std::size_t length) {
    if (length == kLongestRun) return {kSymbols - 1, 0, 0};
    const auto rest = static_cast<unsigned>(length - 3);
    const unsigned extraBits = rest < 8 ? 0 : static_cast<unsigned>(std::bit_width(rest)) - 3;
    return {static_cast<std::uint16_t>(kFirstLength + 4 * extraBits + (rest >> extraBits)),
            static_cast<std::uint8_t>(extraBits), static_cast<std::uint8_t>(rest & ((1u << extraBits) - 1))};
}

// Bytes that are written as literals, and a run of the last byte behind them.
struct Piece {
    std::uint32_t literals;
    std::uint32_t run;  // 0 at the end of a block
};

// Writes numbers bit by bit, the lowest one first.
class BitWriter {
  public:
    BitWriter() = default;
    // Why neither copied nor assigned: the place of the next byte is in the writer's own memory.
    BitWriter(const BitWriter&) = delete;
    BitWriter& operator=(const BitWriter&) = delete;

    // count is at most 56.
    void Write(std::uint64_t bits, unsigned count) {
        held_ |= bits << heldBits_;
        heldBits_ += count;
        std::memcpy(next_, &held_, sizeof held_);
        next_ += heldBits_ / 8;
        held_ >>= heldBits_ / 8 * 8;
        heldBits_ %= 8;
    }
    void Write(Code code) { Write(code.bits, code.length); }

    // Fills a byte that is begun with zeros.
    void Align() { Write(0, -heldBits_ % 8); }

    void WriteBytes(std::span<const std::uint8_t> bytes) { next_ = std::copy(bytes.begin(), bytes.end(), next_); }

    // Appends the whole bytes that were written, and forgets them.
    void MoveTo(std::vector<std::uint8_t>& to) {
        to.insert(to.end(), bytes_.data(), next_);
        next_ = bytes_.data();
    }

  private:
    // An uncompressed block, an empty one, and what follows the last byte in held_. It stays in the nearest cache.
    std::array<std::uint8_t, kBlockBytes + 2 * 5 + sizeof(std::uint64_t)> bytes_;
    std::uint8_t* next_ = bytes_.data();
    std::uint64_t held_ = 0;
    unsigned heldBits_ = 0;
};

// Writes the first bits of a block.
void WriteKind(BitWriter& writer, bool isLast, unsigned kind) { writer.Write((isLast ? 1u : 0u) | kind << 1, 3); }

// Writes a block that is not compressed.
void WriteStored(BitWriter& writer, std::span<const std::uint8_t> bytes, bool isLast) {
    WriteKind(writer, isLast, 0);
    writer.Align();
    const auto count = static_cast<std::uint16_t>(bytes.size());
    writer.Write(count | std::uint32_t{static_cast<std::uint16_t>(~count)} << 16, 32);
    writer.WriteBytes(bytes);
}

// The code of a block, as the block's header describes it: by the lengths of codes, which are symbols of a code too.
class BlockCode {
  public:
    explicit BlockCode(const std::array<std::uint32_t, kSymbols>& occurrences)
        : lengths_(CodeLengths(occurrences, kLongestCode)), codes_(CodesOf(lengths_)) {
        DescribeLengths();
        std::array<std::uint32_t, kLengthSymbols> lengthOccurrences = {};
        for (const Symbol& symbol : description_) ++lengthOccurrences[symbol.value];
        const auto lengthLengths = CodeLengths(lengthOccurrences, kLongestLengthCode);
        lengthCodes_ = CodesOf(lengthLengths);
        while (lengthCodes_[kOrder[listed_ - 1]].length == 0) --listed_;
    }

    Code operator[](std::size_t symbol) const { return codes_[symbol]; }

    // The bits of the header.
    std::size_t HeaderBits() const {
        std::size_t bits = 5 + 5 + 4 + 3 * listed_;
        for (const Symbol& symbol : description_) bits += lengthCodes_[symbol.value].length + symbol.extraBits;
        return bits;
    }

    void WriteHeader(BitWriter& writer) const {
        writer.Write(kSymbols - kFirstLength, 5);
        writer.Write(kDistances - 1, 5);
        writer.Write(listed_ - 4, 4);
        for (std::size_t i = 0; i < listed_; ++i) writer.Write(lengthCodes_[kOrder[i]].length, 3);
        for (const Symbol& symbol : description_) {
            writer.Write(lengthCodes_[symbol.value]);
            writer.Write(symbol.extra, symbol.extraBits);
        }
    }

  private:
    static constexpr std::size_t kLengthSymbols = 19;
    static constexpr unsigned kLongestLengthCode = 7;
    // The order in which the header lists the lengths of the codes of lengths.
    static constexpr std::array<std::uint8_t, kLengthSymbols> kOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                        11, 4,  12, 3, 13, 2, 14, 1, 15};
    // Only the distance 1 occurs. A second one makes the code complete, which some decoders require.
    static constexpr std::size_t kDistances = 2;

    // Writes down the lengths, with symbols for repeated ones.
    void DescribeLengths() {
        std::array<std::uint8_t, kSymbols + kDistances> all;
        std::copy(lengths_.begin(), lengths_.end(), all.begin());
        std::fill(all.begin() + kSymbols, all.end(), 1);
        for (std::size_t i = 0; i < all.size();) {
            const std::uint8_t length = all[i];
            const auto end =
                std::find_if(all.begin() + i, all.end(), [=](std::uint8_t other) { return other != length; });
            auto count = static_cast<std::size_t>(end - (all.begin() + i));
            i += count;
            if (length != 0) description_.push_back({length, 0, 0}), --count;
            while (count >= 3) {
                const std::size_t most = length != 0 ? 6 : 138;
                const std::size_t part = std::min(count, most);
                const auto extra = static_cast<std::uint8_t>(part - (part > 10 ? 11 : 3));
                description_.push_back(length != 0 ? Symbol{16, 2, extra}
                                       : part > 10 ? Symbol{18, 7, extra}
                                                   : Symbol{17, 3, extra});
                count -= part;
            }
            description_.insert(description_.end(), count, {length, 0, 0});
        }
    }

    std::array<std::uint8_t, kSymbols> lengths_;
    std::array<Code, kSymbols> codes_;
    std::vector<Symbol> description_;
    std::array<Code, kLengthSymbols> lengthCodes_;
    std::size_t listed_ = kLengthSymbols;
};

// The bytes of the shortest run from a place on.
std::uint64_t BytesOfRun(const std::uint8_t* bytes) {
    std::uint64_t run;
    static_assert(sizeof run == kShortestRun);
    std::memcpy(&run, bytes, sizeof run);
    return run;
}

// Divides a block into pieces.
void FindRuns(std::span<const std::uint8_t> block, std::vector<Piece>& pieces) {
    pieces.clear();
    const std::uint8_t* const last = block.data() + block.size();
    const std::uint8_t* literals = block.data();
    for (const std::uint8_t* byte = literals + 1; last - byte >= std::ptrdiff_t{kShortestRun}; ++byte) {
        // Equal if all of them are the byte before.
        if (BytesOfRun(byte) != BytesOfRun(byte - 1)) continue;
        const std::uint8_t* const most = std::min(last, byte + kLongestRun);
        const std::uint8_t* const end = std::find_if(byte, most, [=](std::uint8_t other) { return other != byte[-1]; });
        pieces.push_back({static_cast<std::uint32_t>(byte - literals), static_cast<std::uint32_t>(end - byte)});
        literals = end;
        byte = end - 1;
    }
    pieces.push_back({static_cast<std::uint32_t>(last - literals), 0});
}

std::array<std::uint32_t, kSymbols> CountSymbols(const std::uint8_t* byte, std::span<const Piece> pieces) {
    // Two tables, because equal bytes in a row would wait for each other.
    std::array<std::array<std::uint32_t, kLiterals>, 2> tables = {};
    std::array<std::uint32_t, kSymbols> occurrences = {};
    for (const Piece& piece : pieces) {
        const std::uint8_t* const end = byte + piece.literals;
        for (; end - byte >= 2; byte += 2) ++tables[0][byte[0]], ++tables[1][byte[1]];
        if (byte != end) ++tables[0][*byte++];
        if (piece.run != 0) ++occurrences[SymbolOfRun(piece.run).value];
        byte += piece.run;
    }
    for (const auto& table : tables) {
        for (std::size_t literal = 0; literal < kLiterals; ++literal) occurrences[literal] += table[literal];
    }
    occurrences[kEndOfBlock] = 1;
    return occurrences;
}

std::size_t CompressedBits(const std::array<std::uint32_t, kSymbols>& occurrences, const BlockCode& code,
                           std::span<const Piece> pieces) {
    std::size_t bits = code.HeaderBits();
    for (std::size_t symbol = 0; symbol < kSymbols; ++symbol)
        bits += std::size_t{occurrences[symbol]} * code[symbol].length;
    for (const Piece& piece : pieces) {
        if (piece.run != 0) bits += SymbolOfRun(piece.run).extraBits + 1u;
    }
    return bits;
}

void WriteCompressed(BitWriter& writer, const std::uint8_t* byte, std::span<const Piece> pieces, const BlockCode& code,
                     bool isLast) {
    WriteKind(writer, isLast, 2);
    code.WriteHeader(writer);
    for (const Piece& piece : pieces) {
        const std::uint8_t* const end = byte + piece.literals;
        for (; end - byte >= 2; byte += 2) {
            const Code first = code[byte[0]], second = code[byte[1]];
            writer.Write(first.bits | std::uint32_t{second.bits} << first.length, first.length + 0u + second.length);
        }
        if (byte != end) writer.Write(code[*byte++]);
        if (piece.run == 0) continue;
        const Symbol symbol = SymbolOfRun(piece.run);
        writer.Write(code[symbol.value]);
        writer.Write(symbol.extra, symbol.extraBits + 1u);  // with the code of the distance, which is 0
        byte += piece.run;
    }
    writer.Write(code[kEndOfBlock]);
}

}  // namespace

void DeflateRuns(const std::uint8_t* bytes, std::size_t count, bool isLast, std::vector<std::uint8_t>& to) {
    std::vector<Piece> pieces;
    BitWriter writer;
    for (std::size_t done = 0; done < count; done += kBlockBytes) {
        const std::span<const std::uint8_t> block(bytes + done, std::min(kBlockBytes, count - done));
        const bool isLastBlock = isLast && done + block.size() == count;
        FindRuns(block, pieces);
        const auto occurrences = CountSymbols(block.data(), pieces);
        const BlockCode code(occurrences);
        if (CompressedBits(occurrences, code, pieces) < 8 * block.size()) {
            WriteCompressed(writer, block.data(), pieces, code, isLastBlock);
        } else {
            WriteStored(writer, block, isLastBlock);
        }
        writer.MoveTo(to);
    }
    if (!isLast) WriteStored(writer, {}, /*isLast=*/false);
    writer.Align();
    writer.MoveTo(to);
}

}  // namespace image_io
