// unwind_table.cpp - copies and converts frame descriptions.

#include "host/macho/unwind_table.h"

#include <cstring>
#include <utility>
#include <vector>

#include "host/macho/binding.h"
#include "host/macho/frame_descriptions.h"

// A function of the unwinder. It reads entries up to one of length 0.
extern "C" void __register_frame(void* entries);

namespace host::macho {

namespace {

void CheckPersonality(std::uint32_t pointer, bool isIndirect, const Image& image) {
    if (isIndirect) {
        if (!image.Contains(pointer, 4)) RefuseFrames("a personality function lies outside the object");
        pointer = image.Word(pointer - image.Base());
    }
    if (pointer != AddressOf("___gxx_personality_v0")) RefuseFrames("a personality function is not that of C++");
}

// Checks what a pointer refers to.
void CheckPointer(const FramePointer& pointer, std::uint32_t address, const Image& image) {
    switch (pointer.kind) {
        case FramePointer::Kind::kPersonality:
            return CheckPersonality(address, pointer.isIndirect, image);
        case FramePointer::Kind::kFunction:
            if (pointer.functionSize != 0 && image.Contains(address, pointer.functionSize)) return;
            RefuseFrames("a function lies outside the object");
        case FramePointer::Kind::kPersonalData:
            if (address == 0 || image.Contains(address, 4)) return;
            RefuseFrames("a function's cleanups lie outside the object");
    }
}

}  // namespace

UnwindTable::UnwindTable(const ObjectFile& object, const Image& image) {
    const Section* section = object.Find(kFrameSection);
    if (section == nullptr || section->bytes.empty()) return;
    const std::size_t size = section->bytes.size();
    bytes_ = std::make_unique<unsigned char[]>(size + sizeof(std::uint32_t));  // zero at the end marks the end
    const unsigned char* original = image.At(section->address);
    std::memcpy(bytes_.get(), original, size);
    const auto originalAddress = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(original));
    const auto copyAddress = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(bytes_.get()));

    const FrameParts parts = ReadFrames({bytes_.get(), size});
    // On macOS the frame pointer is 4 and the stack pointer 5; here it is the reverse. The others are equal.
    for (const std::uint32_t offset : parts.registers) {
        const unsigned number = bytes_[offset] & 0x3Fu;
        if (number == 4 || number == 5) bytes_[offset] ^= 1;
    }
    for (const FramePointer& pointer : parts.pointers) {
        std::uint32_t value;
        std::memcpy(&value, &bytes_[pointer.offset], sizeof value);
        const bool isMoved = value != 0 && pointer.isRelative;
        CheckPointer(pointer, isMoved ? originalAddress + pointer.offset + value : value, image);
        if (!isMoved) continue;
        value += originalAddress - copyAddress;
        std::memcpy(&bytes_[pointer.offset], &value, sizeof value);
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
