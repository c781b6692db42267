// allocations.h - watches the C library's allocator while a module works, and makes it fail on demand.
//
// The test program defines its own calloc and free, which the dynamic linker finds before those of the C library. They
// call the originals and count only while a watch is open. The address sanitizer replaces the allocator itself, so
// nothing can be watched there: AllocationsAreWatched returns false.
// Threads: the one that opened the watch.

#pragma once

// Whether this build can watch allocations.
[[nodiscard]] bool AllocationsAreWatched();

class AllocationWatch {
  public:
    // Opens a watch. The call of calloc with this number, counted from 1, returns null; 0 for none.
    explicit AllocationWatch(int failingCall = 0);
    ~AllocationWatch();
    AllocationWatch(const AllocationWatch&) = delete;

    // The number of calloc calls since the watch was opened, and the result of one of them, counted from 1.
    int Allocations() const;
    const void* Allocated(int call) const;

    // The number of times the address was freed.
    int FreesOf(const void* memory) const;
};
