// mapped_file.cpp - the list of mappings, in which the handler of SIGBUS finds the one that an address belongs to.
//
// The handler may run on any thread at any moment, so the list has no lock: entries are added at its front, are never
// freed, and are used again. While a page of a mapping is read, the mapping stays in the list.

#include "mapped_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <new>

namespace image_io {

struct MappedFile {
    std::atomic<std::uintptr_t> begin{0};  // 0 while the entry is free
    std::atomic<std::size_t> length{0};
    std::atomic<bool> isShortened{false};
    MappedFile* next = nullptr;
};

namespace {

std::mutex mutex;  // of those who add and free entries
std::atomic<MappedFile*> newestMapping{nullptr};
struct sigaction previous;

// Replaces the pages from an address to the end of its mapping with zeros. Returns false for other addresses.
bool ReplaceWithZeros(std::uintptr_t address) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    for (MappedFile* mapping = newestMapping; mapping != nullptr; mapping = mapping->next) {
        const std::uintptr_t begin = mapping->begin, end = begin + mapping->length;
        if (begin == 0 || address < begin || address >= end) continue;
        const std::uintptr_t missing = address / page * page;
        mapping->isShortened = true;
        return mmap(reinterpret_cast<void*>(missing), end - missing, PROT_READ, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS,
                    -1, 0) != MAP_FAILED;
    }
    return false;
}

void HandleBusError(int, siginfo_t* information, void*) {
    const int error = errno;
    const bool isAccess = information->si_code > 0;  // and not sent by a process
    if (!isAccess || !ReplaceWithZeros(reinterpret_cast<std::uintptr_t>(information->si_addr))) {
        sigaction(SIGBUS, &previous, nullptr);
        // An access repeats after this and meets the previous handler by itself.
        if (!isAccess) raise(SIGBUS);
    }
    errno = error;
}

void InstallHandler() {
    struct sigaction action = {};
    action.sa_sigaction = HandleBusError;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigaction(SIGBUS, &action, &previous);
}

// Returns an unused entry of the list; null when memory is short.
MappedFile* FreeEntry() {
    for (MappedFile* mapping = newestMapping; mapping != nullptr; mapping = mapping->next) {
        if (mapping->begin == 0) return mapping;
    }
    auto* mapping = new (std::nothrow) MappedFile;
    if (mapping == nullptr) return nullptr;
    if (newestMapping == nullptr) InstallHandler();
    mapping->next = newestMapping;
    newestMapping = mapping;
    return mapping;
}

}  // namespace

MappedFile* Map(int file, std::size_t length) {
    const std::lock_guard lock(mutex);
    MappedFile* mapping = FreeEntry();
    if (mapping == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    void* bytes = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, file, 0);
    if (bytes == MAP_FAILED) return nullptr;
    mapping->length = length;
    mapping->isShortened = false;
    mapping->begin = reinterpret_cast<std::uintptr_t>(bytes);
    return mapping;
}

void Unmap(MappedFile* mapping) {
    const std::lock_guard lock(mutex);
    // First the entry: once unmapped, the addresses may be somebody else's.
    munmap(reinterpret_cast<void*>(mapping->begin.exchange(0)), mapping->length);
}

void* BytesOf(const MappedFile& mapping) { return reinterpret_cast<void*>(mapping.begin.load()); }

bool HasBeenShortened(const MappedFile& mapping) { return mapping.isShortened; }

}  // namespace image_io
