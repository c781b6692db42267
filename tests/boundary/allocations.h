// allocations.h - watches the C library's allocator while a module works, and makes it fail on demand.
//
// The test program's own calloc and free stand before the C library's; they pass everything on and count only while a watch is
// open. Under the address sanitizer, which owns the allocator itself, there is nothing to watch: AllocationsAreWatched says so.
// Threads: the one that opened the watch.

#pragma once

// Whether this build can watch allocations.
bool AllocationsAreWatched();

class AllocationWatch {
  public:
    // Opens a watch; the call of calloc with the number, counted from 1, answers null. 0: none.
    explicit AllocationWatch(int failingCall = 0);
    ~AllocationWatch();
    AllocationWatch(const AllocationWatch&) = delete;

    // How often calloc was called since the watch was opened, and what its call of the number answered.
    int Allocations() const;
    const void* Allocated(int call) const;

    // How often the address was freed.
    int FreesOf(const void* memory) const;
};
