// stub_binder_test.cpp - the stub binder, called as the helper of a stub calls it.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "host/macho/lazy_binding.h"

// What a function finds in its registers.
extern "C" {
std::uint32_t gSeenWords[4];  // eax, ecx, edx, the argument on the stack
alignas(16) std::uint32_t gSeenVectors[4][4];
alignas(16) extern const std::uint32_t kVectors[4][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}};
std::uint32_t gCache;
void RecordRegisters();
std::uint32_t CallThroughBinder();
}

asm(R"(
    .text
    .globl RecordRegisters
RecordRegisters:
    pushl %ebx
    movl %eax, %ebx
    calll .Lrecord
.Lrecord:
    popl %eax
    addl $_GLOBAL_OFFSET_TABLE_+(.-.Lrecord), %eax
    pushl %ecx
    movl gSeenWords@GOT(%eax), %ecx
    movl %ebx, (%ecx)
    popl %ebx
    movl %ebx, 4(%ecx)
    movl %edx, 8(%ecx)
    movl 8(%esp), %ebx
    movl %ebx, 12(%ecx)
    movl gSeenVectors@GOT(%eax), %ecx
    movaps %xmm0, (%ecx)
    movaps %xmm1, 16(%ecx)
    movaps %xmm2, 32(%ecx)
    movaps %xmm3, 48(%ecx)
    popl %ebx
    movl $77, %eax
    retl

    .globl CallThroughBinder
CallThroughBinder:
    pushl %ebx
    calll .Lcall
.Lcall:
    popl %ebx
    addl $_GLOBAL_OFFSET_TABLE_+(.-.Lcall), %ebx
    movl kVectors@GOT(%ebx), %eax
    movaps (%eax), %xmm0
    movaps 16(%eax), %xmm1
    movaps 32(%eax), %xmm2
    movaps 48(%eax), %xmm3
    movl $11, %eax
    movl $22, %ecx
    movl $33, %edx
    pushl $44
    calll .Lhelper
    addl $4, %esp
    popl %ebx
    retl
.Lhelper:
    pushl $7
    pushl gCache@GOT(%ebx)
    jmp macos_stub_binder
)");

namespace {

template <typename Pointer>
std::uint32_t AddressOf(Pointer pointer) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer));
}

TEST(StubBinderTest, StoresTheFunctionAndCallsItWithAllArguments) {
    std::uint32_t pointer = 0;
    host::macho::RegisterLazyBindings(AddressOf(&gCache), sizeof gCache,
                                      {{7, {.place = AddressOf(&pointer), .function = AddressOf(RecordRegisters)}}});
    EXPECT_EQ(CallThroughBinder(), 77u);
    EXPECT_EQ(pointer, AddressOf(RecordRegisters));
    const std::uint32_t expected[] = {11, 22, 33, 44};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(gSeenWords[i], expected[i]) << i;
    EXPECT_EQ(std::memcmp(gSeenVectors, kVectors, sizeof kVectors), 0);
}

TEST(StubBinderDeathTest, EndsTheProcessForAStubThatNoBundleHas) {
    EXPECT_DEATH(CallThroughBinder(), "no function belongs to stub 7; the process cannot continue");
}

}  // namespace
