// unwind_table.cpp - copying frame descriptions, entry by entry.
//
// An entry is a common part (CIE) or the description of one function (FDE), which names its common part:
//   CIE   length, 0, version, "zPLR", factors, return address, [encodings and personality], instructions
//   FDE   length, distance to its CIE, function, its size, [what the personality reads], instructions

#include "host/macho/unwind_table.h"

#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "host/macho/binding.h"
#include "host/macho/object_error.h"

// The unwinder's own: takes entries up to one of length 0.
extern "C" void __register_frame(void* entries);

namespace host::macho {

namespace {

constexpr const char* kSection = "__TEXT,__eh_frame";

[[noreturn]] void Refuse(const std::string& problem) { throw ObjectError(std::string("section ") + kSection, problem); }

// How a pointer is written: its width, what it is relative to, and whether it leads to the pointer proper.
constexpr unsigned kFormatMask = 0x0F;
constexpr unsigned kRelativeToItself = 0x10;
constexpr unsigned kBaseMask = 0x70;
constexpr unsigned kIndirect = 0x80;

// Whether a pointer takes four bytes: as an address, or as a number of that width with or without a sign.
bool IsFourBytes(unsigned encoding) {
    const unsigned format = encoding & kFormatMask;
    return format == 0x00 || format == 0x03 || format == 0x0B;
}

// Walks over one entry of the copy and changes it as it goes.
class Cursor {
  public:
    // moved: how far the copy lies from the original.
    Cursor(unsigned char* begin, unsigned char* end, std::uint32_t moved) : at_(begin), end_(end), moved_(moved) {}

    bool AtEnd() const { return at_ == end_; }

    unsigned char* Take(std::size_t count) {
        if (count > static_cast<std::size_t>(end_ - at_)) Refuse("an entry ends early");
        return std::exchange(at_, at_ + count);
    }

    unsigned Byte() { return *Take(1); }

    std::uint32_t Word() {
        std::uint32_t word;
        std::memcpy(&word, Take(sizeof word), sizeof word);
        return word;
    }

    // A number of any length; what does not fit is not used here.
    std::uint32_t Number() {
        std::uint32_t number = 0;
        for (unsigned shift = 0;; shift += 7) {
            const unsigned byte = Byte();
            if (shift < 32) number |= (byte & 0x7F) << shift;
            if ((byte & 0x80) == 0) return number;
        }
    }

    // A register: the frame pointer is 4 there and 5 here, the stack pointer the reverse; the others are the same.
    void Register() {
        unsigned char* number = Take(1);
        if (*number > kLastRegister) Refuse("there is no register " + std::to_string(*number));
        if (*number == 4 || *number == 5) *number ^= 1;
    }

    // A pointer, which stays where it leads to; answers that, or 0 for none.
    std::uint32_t Pointer(unsigned encoding) {
        const unsigned base = encoding & kBaseMask;
        if (!IsFourBytes(encoding) || (base != 0 && base != kRelativeToItself)) {
            Refuse("a pointer is encoded as " + std::to_string(encoding) + ", which is unknown");
        }
        unsigned char* place = at_;
        std::uint32_t pointer = Word();
        if (pointer == 0 || base == 0) return pointer;
        pointer -= moved_;
        std::memcpy(place, &pointer, sizeof pointer);
        return pointer + static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(place));
    }

    static constexpr unsigned kLastRegister = 8;

  private:
    unsigned char* at_;
    unsigned char* end_;
    std::uint32_t moved_;
};

// Changes the registers that the instructions up to the entry's end name.
void ConvertInstructions(Cursor& cursor) {
    while (!cursor.AtEnd()) {
        unsigned char* place = cursor.Take(1);
        const unsigned instruction = *place;
        const unsigned high = instruction & 0xC0;
        if (high == 0x40) continue;  // advance
        if (high != 0) {             // offset or restore of the register in the low bits
            const unsigned number = instruction & 0x3F;
            if (number == 4 || number == 5) *place ^= 1;
            if (high == 0x80) cursor.Number();
            continue;
        }
        switch (instruction) {
            case 0x00:  // nothing
            case 0x0A:  // remember
            case 0x0B:  // restore what was remembered
                break;
            case 0x02:  // advance, by 1, 2 or 4 bytes
            case 0x03:
            case 0x04:
                cursor.Take(std::size_t{1} << (instruction - 0x02));
                break;
            case 0x05:  // register at an offset
            case 0x11:
            case 0x0C:  // frame is a register and an offset
            case 0x12:
                cursor.Register();
                cursor.Number();
                break;
            case 0x06:  // restore, undefined, same, frame is a register
            case 0x07:
            case 0x08:
            case 0x0D:
                cursor.Register();
                break;
            case 0x09:  // register in a register
                cursor.Register();
                cursor.Register();
                break;
            case 0x0E:  // frame is an offset
            case 0x13:
            case 0x2E:  // size of arguments
                cursor.Number();
                break;
            default:
                Refuse("instruction " + std::to_string(instruction) + " is unknown");
        }
    }
}

// What a function's description needs of its common part.
struct Common {
    unsigned pointerEncoding = 0;
    unsigned personalDataEncoding = 0;
    bool hasAugmentation = false;
    bool hasPersonalData = false;
};

void CheckPersonality(std::uint32_t pointer, unsigned encoding, const Image& image) {
    if ((encoding & kIndirect) != 0) {
        if (!image.Contains(pointer, 4)) Refuse("a personality lies outside the object");
        pointer = image.Word(pointer - image.Base());
    }
    if (pointer != AddressOf("___gxx_personality_v0")) Refuse("a personality is not that of C++");
}

Common ConvertCommon(Cursor& cursor, const Image& image) {
    Common common;
    if (const unsigned version = cursor.Byte(); version != 1)
        Refuse("version " + std::to_string(version) + " is unknown");
    std::string letters;
    while (const unsigned letter = cursor.Byte()) letters += static_cast<char>(letter);
    cursor.Number();  // what code offsets count
    cursor.Number();  // what data offsets count
    if (const unsigned column = cursor.Byte(); column != Cursor::kLastRegister) {
        Refuse("the return address is in column " + std::to_string(column));
    }
    for (const char letter : letters) {
        switch (letter) {
            case 'z':
                common.hasAugmentation = true;
                cursor.Number();
                break;
            case 'P': {
                const unsigned encoding = cursor.Byte();
                CheckPersonality(cursor.Pointer(encoding), encoding, image);
                break;
            }
            case 'L':
                common.personalDataEncoding = cursor.Byte();
                common.hasPersonalData = true;
                break;
            case 'R':
                common.pointerEncoding = cursor.Byte();
                break;
            default:
                Refuse("augmentation \"" + letters + "\" is unknown");
        }
    }
    if (!letters.empty() && letters[0] != 'z') Refuse("augmentation \"" + letters + "\" is unknown");
    ConvertInstructions(cursor);
    return common;
}

void ConvertFunction(Cursor& cursor, const Common& common, const Image& image) {
    const std::uint32_t function = cursor.Pointer(common.pointerEncoding);
    const std::uint32_t size = cursor.Word();
    if (size == 0 || !image.Contains(function, size)) Refuse("a function lies outside the object");
    if (common.hasAugmentation) {
        const std::uint32_t augmentation = cursor.Number();
        if (augmentation != (common.hasPersonalData ? 4u : 0u)) Refuse("a function's augmentation is unknown");
    }
    if (common.hasPersonalData) {
        const std::uint32_t data = cursor.Pointer(common.personalDataEncoding);
        if (data != 0 && !image.Contains(data, 4)) Refuse("a function's cleanups lie outside the object");
    }
    ConvertInstructions(cursor);
}

}  // namespace

UnwindTable::UnwindTable(const ObjectFile& object, const Image& image) {
    const Section* section = object.Find(kSection);
    if (section == nullptr || section->bytes.empty()) return;
    const std::size_t size = section->bytes.size();
    bytes_ = std::make_unique<unsigned char[]>(size + sizeof(std::uint32_t));  // the end mark is 0
    const unsigned char* original = image.At(section->address);
    std::memcpy(bytes_.get(), original, size);
    const auto moved = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(bytes_.get()) -
                                                  reinterpret_cast<std::uintptr_t>(original));

    std::map<std::uint32_t, Common> commons;  // by their place
    Cursor entries(bytes_.get(), bytes_.get() + size, moved);
    while (!entries.AtEnd()) {
        const std::uint32_t length = entries.Word();
        if (length == 0) break;
        unsigned char* begin = entries.Take(length);
        const auto place = static_cast<std::uint32_t>(begin - bytes_.get());
        Cursor entry(begin, begin + length, moved);
        const std::uint32_t distance = entry.Word();
        if (distance == 0) {
            commons[place - sizeof length] = ConvertCommon(entry, image);
            continue;
        }
        const auto common = commons.find(place - distance);
        if (common == commons.end()) Refuse("a function names no common part");
        ConvertFunction(entry, common->second, image);
    }
}

void UnwindTable::Register() {
    if (bytes_ == nullptr) return;
    static auto& registered = *new std::vector<std::unique_ptr<unsigned char[]>>;  // outlives all exceptions
    registered.push_back(std::move(bytes_));
    __register_frame(registered.back().get());
}

}  // namespace host::macho
