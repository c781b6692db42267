// unwind_table.cpp - copies and converts frame descriptions, entry by entry.
//
// An entry is a common part (CIE) or the description of a function (FDE), which refers to its common part:
//   CIE   length, 0, version, "zPLR", factors, return address, [encodings and personality], instructions
//   FDE   length, distance to its CIE, function, its size, [data for the personality], instructions

#include "host/macho/unwind_table.h"

#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/macho/binding.h"
#include "host/macho/object_error.h"

// A function of the unwinder. It reads entries up to one of length 0.
extern "C" void __register_frame(void* entries);

namespace host::macho {

namespace {

constexpr const char* kSection = "__TEXT,__eh_frame";

[[noreturn]] void Refuse(const std::string& problem) { throw ObjectError(std::string("section ") + kSection, problem); }

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

// Reads one entry of the copy and converts it in place.
class Cursor {
  public:
    // moved: the distance of the copy from the original.
    Cursor(unsigned char* begin, unsigned char* end, std::uint32_t moved) : at_(begin), end_(end), moved_(moved) {}

    bool AtEnd() const { return at_ == end_; }

    unsigned char* Take(std::size_t count) {
        if (count > static_cast<std::size_t>(end_ - at_)) Refuse("an entry is truncated");
        return std::exchange(at_, at_ + count);
    }

    unsigned Byte() { return *Take(1); }

    std::uint32_t Word() {
        std::uint32_t word;
        std::memcpy(&word, Take(sizeof word), sizeof word);
        return word;
    }

    // A number of any length (LEB128). Bits beyond 32 are dropped; no number that matters here has them.
    std::uint32_t Number() {
        std::uint32_t number = 0;
        for (unsigned shift = 0;; shift += 7) {
            const unsigned byte = Byte();
            if (shift < 32) number |= (byte & 0x7F) << shift;
            if ((byte & 0x80) == 0) return number;
        }
    }

    // A register. On macOS the frame pointer is 4 and the stack pointer 5; here it is the reverse. The others are
    // equal.
    void Register() {
        unsigned char* number = Take(1);
        if (*number > kLastRegister) Refuse("there is no register " + std::to_string(*number));
        if (*number == 4 || *number == 5) *number ^= 1;
    }

    // Adjusts a pointer so that it still refers to the same address, and returns that address, or 0 for null.
    std::uint32_t Pointer(unsigned encoding) {
        const unsigned base = encoding & kBaseMask;
        if (!IsFourBytes(encoding) || (base != 0 && base != kRelativeToItself)) {
            Refuse("pointer encoding " + std::to_string(encoding) + " is unknown");
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

// Converts the register numbers in the instructions up to the end of the entry.
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
                Refuse("instruction " + std::to_string(instruction) + " is unknown");
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

void CheckPersonality(std::uint32_t pointer, unsigned encoding, const Image& image) {
    if ((encoding & kIndirect) != 0) {
        if (!image.Contains(pointer, 4)) Refuse("a personality function lies outside the object");
        pointer = image.Word(pointer - image.Base());
    }
    if (pointer != AddressOf("___gxx_personality_v0")) Refuse("a personality function is not that of C++");
}

Common ConvertCommon(Cursor& cursor, const Image& image) {
    Common common;
    if (const unsigned version = cursor.Byte(); version != 1)
        Refuse("version " + std::to_string(version) + " is unknown");
    std::string letters;
    while (const unsigned letter = cursor.Byte()) letters += static_cast<char>(letter);
    cursor.Number();  // unit of code offsets
    cursor.Number();  // unit of data offsets
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
    bytes_ = std::make_unique<unsigned char[]>(size + sizeof(std::uint32_t));  // zero at the end marks the end
    const unsigned char* original = image.At(section->address);
    std::memcpy(bytes_.get(), original, size);
    const auto moved = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(bytes_.get()) -
                                                  reinterpret_cast<std::uintptr_t>(original));

    std::map<std::uint32_t, Common> commons;  // by their offset
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
        if (common == commons.end()) Refuse("a function refers to an unknown common part");
        ConvertFunction(entry, common->second, image);
    }
}

void UnwindTable::Register() {
    if (bytes_ == nullptr) return;
    // Never destroyed, because the unwinder may use it until the process ends.
    static auto& registered = *new std::vector<std::unique_ptr<unsigned char[]>>;
    registered.push_back(std::move(bytes_));
    __register_frame(registered.back().get());
}

}  // namespace host::macho
