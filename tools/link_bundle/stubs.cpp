// stubs.cpp - instructions of 32-bit x86.

#include "tools/link_bundle/stubs.h"

#include <algorithm>
#include <initializer_list>

#include "tools/link_bundle/layout.h"

namespace linker {

namespace {

// Writes instructions one after the other.
class Code {
  public:
    Code(OutputSection& section, std::uint32_t offset) : section_(section), at_(offset) {}

    std::uint32_t Address() const { return section_.address + at_; }

    void Append(std::initializer_list<unsigned> bytes) {
        for (const unsigned byte : bytes) section_.bytes[at_++] = static_cast<unsigned char>(byte);
    }

    void AppendWord(std::uint32_t word) { Append({word & 0xFF, word >> 8 & 0xFF, word >> 16 & 0xFF, word >> 24}); }

    // Makes eax the address of the next instruction, and returns it.
    std::uint32_t AppendOwnAddress() {
        Append({0xE8});  // call
        AppendWord(0);
        const std::uint32_t address = Address();
        Append({0x58});  // pop eax
        return address;
    }

    // Jumps to the address in a pointer, which is this far from the address in eax.
    void AppendJumpThrough(std::uint32_t distance) {
        Append({0xFF, 0xA0});
        AppendWord(distance);
    }

  private:
    OutputSection& section_;
    std::uint32_t at_;
};

}  // namespace

void WriteStub(Layout& layout, std::uint32_t index, std::uint32_t lazyProgram) {
    OutputSection& helpers = *layout.Find(kStubHelpers);
    const std::uint32_t pointer = layout.Find(kLazyPointers)->address + 4 * index;

    Code stub(*layout.Find(kStubs), index * kStubSize);
    const std::uint32_t here = stub.AppendOwnAddress();
    stub.AppendJumpThrough(pointer - here);

    Code helper(helpers, kStubHelpersSize + index * kStubHelperSize);
    layout.SetWord(pointer, helper.Address());
    helper.Append({0x68});  // push
    helper.AppendWord(lazyProgram);
    helper.Append({0xE9});  // jmp
    helper.AppendWord(helpers.address - (helper.Address() + 4));
    helper.Append({0x90, 0x90});  // nop
}

void WriteCommonHelper(Layout& layout, std::uint32_t binder) {
    const std::uint32_t cache = layout.Find(kCache)->address;
    Code code(*layout.Find(kStubHelpers), 0);
    const std::uint32_t here = code.AppendOwnAddress();
    code.Append({0x05});  // add eax
    code.AppendWord(cache - here);
    code.Append({0x50});  // push eax
    code.AppendJumpThrough(binder - cache);
    code.Append({0x90, 0x90});  // nop
}

}  // namespace linker
