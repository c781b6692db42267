// allocations.cpp - replaces calloc and free by functions that count and call the originals.

#include "tests/boundary/allocations.h"

#include <algorithm>
#include <cstddef>

namespace {

// How many calls a watch remembers; later ones are only counted.
constexpr int kRemembered = 1024;

bool open = false;
int failing = 0;
int allocations = 0;
int frees = 0;
const void* allocated[kRemembered];
const void* freed[kRemembered];

}  // namespace

#if __has_feature(address_sanitizer)

bool AllocationsAreWatched() { return false; }

#else

bool AllocationsAreWatched() { return true; }

extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void __libc_free(void* memory);

extern "C" __attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
    if (!open) return __libc_calloc(count, size);
    const int call = ++allocations;
    void* memory = call == failing ? nullptr : __libc_calloc(count, size);
    if (call <= kRemembered) allocated[call - 1] = memory;
    return memory;
}

extern "C" __attribute__((visibility("default"))) void free(void* memory) {
    if (open && frees < kRemembered) freed[frees++] = memory;
    __libc_free(memory);
}

#endif

AllocationWatch::AllocationWatch(int failingCall) {
    failing = failingCall;
    allocations = frees = 0;
    open = true;
}

AllocationWatch::~AllocationWatch() { open = false; }

int AllocationWatch::Allocations() const { return allocations; }

const void* AllocationWatch::Allocated(int call) const { return allocated[call - 1]; }

int AllocationWatch::FreesOf(const void* memory) const {
    return static_cast<int>(std::count(freed, freed + frees, memory));
}
