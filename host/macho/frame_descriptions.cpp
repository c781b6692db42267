// frame_descriptions.cpp - reads entry by entry.

#include "host/macho/frame_descriptions.h"

#include <cstring>
#include <map>
#include <string>

#include "host/macho/leb128.h"
#include "host/macho/object_error.h"

namespace host::macho {

namespace {

// The encoding of a pointer: its width, its base, and whether it points to the actual pointer.
constexpr unsigned kFormatMask = 0x0F;
constexpr unsigned kRelativeToItself = 0x10;
constexpr unsigned kBaseMask = 0x70;
constexpr unsigned kIndirect = 0x80;

// Whether a pointer has four bytes: an address, or a signed or unsigned number of that width.
bool IsFourBytes(unsigned encoding) {
    const unsigned format = encoding & kFormatMask;
    return format == 0x00 || format == 0x03 || format == 0x0B;
}

constexpr unsigned kLastRegister = 8;

// Reads a part of the section and notes what it contains.
class Cursor {
  public:
    Cursor(std::span<const unsigned char> section, std::size_t begin, std::size_t end, FrameParts& parts)
        : section_(section), at_(begin), end_(end), parts_(parts) {}

    bool AtEnd() const { return at_ == end_; }
    std::uint32_t Offset() const { return static_cast<std::uint32_t>(at_); }

    // Moves on and returns the offset of the skipped bytes.
    std::size_t Take(std::size_t count) {
        if (count > end_ - at_) RefuseFrames("an entry is truncated");
        at_ += count;
        return at_ - count;
    }

    unsigned Byte() { return section_[Take(1)]; }

    std::uint32_t Word() {
        std::uint32_t word;
        std::memcpy(&word, &section_[Take(sizeof word)], sizeof word);
        return word;
    }

    // Bits beyond 32 are dropped; no number that matters here has them.
    std::uint32_t Number() {
        return ReadNumber([this] { return Byte(); });
    }

    // The byte that was just read contains a register.
    void NoteRegister() { parts_.registers.push_back(Offset() - 1); }

    void Register() {
        const unsigned number = Byte();
        if (number > kLastRegister) RefuseFrames("there is no register " + std::to_string(number));
        NoteRegister();
    }

    FramePointer& Pointer(FramePointer::Kind kind, unsigned encoding) {
        const unsigned base = encoding & kBaseMask;
        if (!IsFourBytes(encoding) || (base != 0 && base != kRelativeToItself)) {
            RefuseFrames("pointer encoding " + std::to_string(encoding) + " is unknown");
        }
        parts_.pointers.push_back({.kind = kind,
                                   .offset = static_cast<std::uint32_t>(Take(4)),
                                   .isRelative = base != 0,
                                   .isIndirect = (encoding & kIndirect) != 0});
        return parts_.pointers.back();
    }

  private:
    std::span<const unsigned char> section_;
    std::size_t at_;
    std::size_t end_;
    FrameParts& parts_;
};

// Reads the instructions up to the end of the entry.
void ReadInstructions(Cursor& cursor) {
    while (!cursor.AtEnd()) {
        const unsigned instruction = cursor.Byte();
        const unsigned high = instruction & 0xC0;
        if (high == 0x40) continue;  // advance
        if (high != 0) {             // offset or restore of the register in the low bits
            cursor.NoteRegister();
            if (high == 0x80) cursor.Number();
            continue;
        }
        switch (instruction) {
            case 0x00:  // nothing
            case 0x0A:  // remember
            case 0x0B:  // restore the remembered state
                break;
            case 0x02:  // advance, by 1, 2 or 4 bytes
            case 0x03:
            case 0x04:
                cursor.Take(std::size_t{1} << (instruction - 0x02));
                break;
            case 0x05:  // register at an offset
            case 0x11:
            case 0x0C:  // frame address is a register plus an offset
            case 0x12:
                cursor.Register();
                cursor.Number();
                break;
            case 0x06:  // restore, undefined, same, frame address register
            case 0x07:
            case 0x08:
            case 0x0D:
                cursor.Register();
                break;
            case 0x09:  // register in a register
                cursor.Register();
                cursor.Register();
                break;
            case 0x0E:  // frame address offset
            case 0x13:
            case 0x2E:  // size of arguments
                cursor.Number();
                break;
            default:
                RefuseFrames("instruction " + std::to_string(instruction) + " is unknown");
        }
    }
}

// The parts of a CIE that its functions need.
struct Common {
    unsigned pointerEncoding = 0;
    unsigned personalDataEncoding = 0;
    bool hasAugmentation = false;
    bool hasPersonalData = false;
};

Common ReadCommon(Cursor& cursor) {
    Common common;
    if (const unsigned version = cursor.Byte(); version != 1) {
        RefuseFrames("version " + std::to_string(version) + " is unknown");
    }
    std::string letters;
    while (const unsigned letter = cursor.Byte()) letters += static_cast<char>(letter);
    cursor.Number();  // unit of code offsets
    cursor.Number();  // unit of data offsets
    if (const unsigned column = cursor.Byte(); column != kLastRegister) {
        RefuseFrames("the return address is in column " + std::to_string(column));
    }
    for (const char letter : letters) {
        switch (letter) {
            case 'z':
                common.hasAugmentation = true;
                cursor.Number();
                break;
            case 'P':
                cursor.Pointer(FramePointer::Kind::kPersonality, cursor.Byte());
                break;
            case 'L':
                common.personalDataEncoding = cursor.Byte();
                common.hasPersonalData = true;
                break;
            case 'R':
                common.pointerEncoding = cursor.Byte();
                break;
            default:
                RefuseFrames("augmentation \"" + letters + "\" is unknown");
        }
    }
    if (!letters.empty() && letters[0] != 'z') RefuseFrames("augmentation \"" + letters + "\" is unknown");
    ReadInstructions(cursor);
    return common;
}

void ReadFunction(Cursor& cursor, const Common& common) {
    FramePointer& function = cursor.Pointer(FramePointer::Kind::kFunction, common.pointerEncoding);
    function.functionSize = cursor.Word();
    if (common.hasAugmentation) {
        const std::uint32_t augmentation = cursor.Number();
        if (augmentation != (common.hasPersonalData ? 4u : 0u)) RefuseFrames("a function's augmentation is unknown");
    }
    if (common.hasPersonalData) cursor.Pointer(FramePointer::Kind::kPersonalData, common.personalDataEncoding);
    ReadInstructions(cursor);
}

}  // namespace

void RefuseFrames(const std::string& problem) { throw ObjectError(std::string("section ") + kFrameSection, problem); }

FrameParts ReadFrames(std::span<const unsigned char> section) {
    FrameParts parts;
    std::map<std::uint32_t, Common> commons;  // by their offset
    Cursor entries(section, 0, section.size(), parts);
    while (!entries.AtEnd()) {
        const std::uint32_t length = entries.Word();
        if (length == 0) break;
        const std::size_t begin = entries.Take(length);
        Cursor entry(section, begin, begin + length, parts);
        const std::uint32_t distance = entry.Word();
        const auto place = static_cast<std::uint32_t>(begin);
        if (distance == 0) {
            commons[place - sizeof length] = ReadCommon(entry);
            continue;
        }
        const auto common = commons.find(place - distance);
        if (common == commons.end()) RefuseFrames("a function refers to an unknown common part");
        ReadFunction(entry, common->second);
    }
    return parts;
}

}  // namespace host::macho
