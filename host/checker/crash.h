// crash.h - the stack of a process that crashed: noted by the process as it dies, put into words by its parent.
//
// The dying process notes addresses and where files are mapped, in memory that it shares; everything else is done by
// the parent, which is intact. Code for macOS is mapped from no file, so its loader's list is noted, too.
//
// Failure: a stack that cannot be unwound is as long as it could be; without llvm-symbolizer, frames are files and
//          offsets.
// Threads: any thread may crash.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace checker {

// An object for macOS in memory.
struct MappedObject {
    char path[256] = "";
    std::uintptr_t base = 0;  // the address of the object's address 0
    std::uintptr_t size = 0;
};

// What a dying process notes. Plain data, all zero at first.
struct CrashNotes {
    static constexpr std::size_t kFrames = 48;

    std::uint32_t frameCount = 0;
    std::uintptr_t frames[kFrames] = {};  // the innermost first
    std::uint32_t mapsLength = 0;
    char maps[96 << 10] = {};  // /proc/self/maps
    std::uint32_t objectCount = 0;
    MappedObject objects[4] = {};
};

// From now on a signal that ends this process notes the stack first. The notes must outlive the process's code.
void NoteCrashesIn(CrashNotes& notes);

// Returns the stack, one frame a line: "JugVolume at jug.cpp:12 (jug.so)".
[[nodiscard]] std::vector<std::string> StackText(const CrashNotes& notes);

}  // namespace checker
