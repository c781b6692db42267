// block_checks.cpp - whether MemoryBlocks have the bytes that a module asks for, and keep them.

#include <cstdint>
#include <iterator>

#include "probe/check.h"
#include "probe/held.h"
#include "probe/memory.h"

namespace probe {

namespace {

constexpr std::int32_t kSizes[] = {1, 2, 3, 5, 7, 13, 31, 63, 127, 255, 1023, 4095, 4097, 65535, 65537, 1000001};
constexpr int kMark = 0x5A;

// Fails unless all bytes can be read and written.
void ExpectBytes(Finding& finding, void* bytes, std::int32_t size) {
    const auto count = static_cast<std::size_t>(size);
    if (bytes == nullptr) return finding.Fail("a block of %d bytes: expected an address, got null", size);
    if (!Fill(bytes, kMark, count)) return finding.Fail("a block of %d bytes: expected bytes to write", size);
    if (!IsFilled(bytes, kMark, count)) finding.Fail("a block of %d bytes: expected what was written", size);
}

}  // namespace

void BlockSize(Finding& finding) {
    if (finding.Lacks<service::newMemoryBlock, service::memoryBlockGetSize, service::ZEVAUnlockObject>()) return;
    for (const std::int32_t size : kSizes) {
        const Block block(size);
        if (!block) return finding.Fail("a block of %d bytes: expected a block, got null", size);
        const std::int32_t got = block.Size();
        if (got != size) return finding.Fail("a block of %d bytes: expected this size, got %d", size, got);
    }
}

void BlockBytes(Finding& finding) {
    if (finding.Lacks<service::memoryBlockGetPtr>()) return;
    for (const std::int32_t size : kSizes) {
        const Block block(size);
        ExpectBytes(finding, block.Bytes(), size);
    }
}

// Twice, because the second blocks may lie where the first ones were.
void BlockZero(Finding& finding) {
    for (const std::int32_t size : kSizes) {
        for (int i = 0; i < 2; ++i) {
            const Block block(size);
            void* bytes = block.Bytes();
            if (!IsFilled(bytes, 0, static_cast<std::size_t>(size))) {
                return finding.Fail("a block of %d bytes: expected zeros", size);
            }
            ExpectBytes(finding, bytes, size);
        }
    }
}

void BlocksApart(Finding& finding) {
    constexpr int kSize = 33;
    const Block blocks[] = {Block(kSize), Block(kSize), Block(kSize), Block(kSize)};
    void* bytes[std::size(blocks)];
    for (std::size_t i = 0; i < std::size(blocks); ++i) {
        bytes[i] = blocks[i].Bytes();
        if (!Fill(bytes[i], static_cast<int>(i + 1), kSize)) return finding.Fail("expected bytes to write");
    }
    for (std::size_t i = 0; i < std::size(blocks); ++i) {
        if (!IsFilled(bytes[i], static_cast<int>(i + 1), kSize)) {
            return finding.Fail("expected its own bytes in block %d, got those of another", static_cast<int>(i));
        }
    }
}

void BlockStays(Finding& finding) {
    constexpr int kSize = 99;
    const Block block(kSize);
    void* bytes = block.Bytes();
    for (const std::int32_t size : kSizes) Block(size).Release();
    if (!Fill(bytes, kMark, kSize)) return finding.Fail("expected the address to stay valid");
    if (!IsFilled(block.Bytes(), kMark, kSize)) finding.Fail("expected what was written through the address");
}

void EmptyBlock(Finding& finding) {
    if (finding.Lacks<service::memoryBlockGetPtr>()) return;
    const Block block(0);
    if (!block) return finding.Fail("expected a block, got null");
    const std::int32_t size = block.Size();
    if (size != 0) return finding.Fail("expected size 0, got %d", size);
    if (block.Bytes() != nullptr) finding.Fail("expected null as address, got another one");
}

void HugeBlock(Finding& finding) {
    constexpr std::int32_t kSize = INT32_MAX;
    const Block block(kSize);
    if (!block) return;
    const std::int32_t size = block.Size();
    if (size != kSize) return finding.Fail("expected size %d, got %d", kSize, size);
    auto* bytes = static_cast<char*>(block.Bytes());
    if (bytes == nullptr) return finding.Fail("expected an address, got null");
    if (!Fill(bytes + kSize - 1, kMark, 1)) finding.Fail("expected a last byte to write");
}

void BlockReference(Finding& finding) {
    constexpr std::int32_t kSize = 99;
    Finding added;
    AddedReference(added);
    if (added.Result() != Verdict::kPassed) return finding.Skip("it needs references.added");
    const Block block(kSize);
    if (!Fill(block.Bytes(), kMark, kSize)) return finding.Fail("expected bytes to write");
    block.Lock();
    block.Unlock();
    const std::int32_t size = block.Size();
    if (size != kSize) return finding.Fail("expected size %d, got %d", kSize, size);
    if (!IsFilled(block.Bytes(), kMark, kSize)) finding.Fail("expected the bytes as they were");
}

}  // namespace probe
