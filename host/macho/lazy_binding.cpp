// lazy_binding.cpp - the stub binder and the tables of all bundles.

#include "host/macho/lazy_binding.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

namespace host::macho {

namespace {

struct BundleTable {
    std::uint32_t address;
    std::uint32_t size;
    LazyBindings bindings;
};

std::mutex tablesMutex;

// Never destroyed: a bundle may call a stub for the first time while the process ends.
std::vector<BundleTable>& Tables() {
    static auto& tables = *new std::vector<BundleTable>;
    return tables;
}

const LazyBinding* FindBinding(std::uint32_t cache, std::uint32_t number) {
    const std::lock_guard lock(tablesMutex);
    for (const BundleTable& table : Tables()) {
        if (cache - table.address >= table.size) continue;
        const auto found = table.bindings.find(number);
        return found != table.bindings.end() ? &found->second : nullptr;
    }
    return nullptr;
}

}  // namespace

void RegisterLazyBindings(std::uint32_t address, std::uint32_t size, LazyBindings bindings) {
    const std::lock_guard lock(tablesMutex);
    Tables().push_back({address, size, std::move(bindings)});
}

}  // namespace host::macho

// Stores the address of a stub's function and returns it. A stub that its bundle's table does not have means that the
// bundle's code is damaged, and there is nobody to tell: the caller expects its function to have run.
extern "C" __attribute__((visibility("hidden"))) std::uint32_t macos_bind_stub(std::uint32_t cache,
                                                                               std::uint32_t number) noexcept {
    const host::macho::LazyBinding* binding = host::macho::FindBinding(cache, number);
    if (binding == nullptr) {
        std::fprintf(stderr, "code for macOS: no function belongs to stub %u; the process cannot continue\n", number);
        std::abort();
    }
    *reinterpret_cast<std::uint32_t*>(binding->place) = binding->function;
    return binding->function;
}

// On entry the stack holds the address of the cache, the number and the return address of the stub's caller. At the end
// the function's address takes the place of the number, and returning jumps there with the stack as the caller left it.
asm(R"(
    .text
    .p2align 4
    .globl macos_stub_binder
    .hidden macos_stub_binder
    .type macos_stub_binder, @function
macos_stub_binder:
    .cfi_startproc
    .cfi_def_cfa_offset 12
    pushl %ebp
    .cfi_adjust_cfa_offset 4
    .cfi_rel_offset %ebp, 0
    movl %esp, %ebp
    .cfi_def_cfa_register %ebp
    pushl %eax
    pushl %ecx
    pushl %edx
    subl $80, %esp
    andl $-16, %esp
    movups %xmm0, 16(%esp)
    movups %xmm1, 32(%esp)
    movups %xmm2, 48(%esp)
    movups %xmm3, 64(%esp)
    movl 4(%ebp), %eax
    movl %eax, (%esp)
    movl 8(%ebp), %eax
    movl %eax, 4(%esp)
    calll macos_bind_stub
    movl %eax, 8(%ebp)
    movups 16(%esp), %xmm0
    movups 32(%esp), %xmm1
    movups 48(%esp), %xmm2
    movups 64(%esp), %xmm3
    movl -4(%ebp), %eax
    movl -8(%ebp), %ecx
    movl -12(%ebp), %edx
    movl %ebp, %esp
    popl %ebp
    .cfi_def_cfa %esp, 12
    .cfi_restore %ebp
    addl $4, %esp
    .cfi_def_cfa_offset 8
    retl
    .cfi_endproc
    .size macos_stub_binder, .-macos_stub_binder
)");
