// memory_budget.cpp - counts, and asks the system how much memory there is.

#include "core/memory_budget.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <utility>

namespace core_image {
namespace {

// Smaller buffers are tiles and rows.
constexpr std::uint64_t kSmallestCounted = 1 << 20;

thread_local MemoryBudget* currentBudget = nullptr;

std::atomic<void (*)()> reclaimMemory = nullptr;

// The number in a file. UINT64_MAX when the file is missing or holds no number, such as "max".
std::uint64_t NumberIn(const std::string& path) {
    std::uint64_t number = 0;
    return std::ifstream(path) >> number ? number : UINT64_MAX;
}

// The lowest memory limit of the control groups that the process is in.
std::uint64_t ControlGroupLimit() {
    std::uint64_t limit = NumberIn("/sys/fs/cgroup/memory/memory.limit_in_bytes");
    std::ifstream groups("/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) {
        // Version 2 has one line, "0::/path". A group's limit also holds for the groups in it.
        if (!line.starts_with("0::")) continue;
        for (std::string path = line.substr(3);; path.resize(path.rfind('/'))) {
            limit = std::min(limit, NumberIn("/sys/fs/cgroup" + path + "/memory.max"));
            if (path.find('/') == std::string::npos) break;
        }
    }
    return limit;
}

}  // namespace

MemoryBudget& MemoryBudget::Default() {
    static MemoryBudget budget(DefaultLimit());
    return budget;
}

std::uint64_t MemoryBudget::DefaultLimit() {
    const std::uint64_t machine =
        static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t quarter = std::min(machine, ControlGroupLimit()) / 4;
    return sizeof(void*) == 4 ? std::min<std::uint64_t>(quarter, 1 << 30) : quarter;
}

void MemoryBudget::OnShortage(void (*reclaim)()) { reclaimMemory = reclaim; }

bool MemoryBudget::CanTake(std::uint64_t bytes) {
    // Why not added first and taken back where it does not fit: meanwhile, others would be refused what does.
    const std::uint64_t limit = Limit();
    std::uint64_t used = used_.load(std::memory_order_relaxed);
    do {
        if (used > limit || bytes > limit - used) return false;
    } while (!used_.compare_exchange_weak(used, used + bytes, std::memory_order_relaxed));
    return true;
}

void MemoryBudget::Take(std::uint64_t bytes) {
    if (CanTake(bytes)) return;
    if (const auto reclaim = reclaimMemory.load()) {
        reclaim();
        if (CanTake(bytes)) return;
    }
    throw MemoryShortage(Used() + bytes, Limit());
}

BudgetScope::BudgetScope(MemoryBudget& budget) : before_(std::exchange(currentBudget, &budget)) {}

BudgetScope::~BudgetScope() { currentBudget = before_; }

bool BudgetScope::IsHalfFree() {
    return currentBudget == nullptr || currentBudget->Used() <= currentBudget->Limit() / 2;
}

BudgetShare::BudgetShare(std::uint64_t bytes) {
    if (currentBudget == nullptr || bytes < kSmallestCounted) return;
    currentBudget->Take(bytes);
    budget_ = currentBudget;
    bytes_ = bytes;
}

BudgetShare::BudgetShare(BudgetShare&& other) noexcept
    : budget_(std::exchange(other.budget_, nullptr)), bytes_(other.bytes_) {}

BudgetShare& BudgetShare::operator=(BudgetShare&& other) noexcept {
    std::swap(budget_, other.budget_);
    std::swap(bytes_, other.bytes_);
    return *this;
}

BudgetShare::~BudgetShare() {
    if (budget_ != nullptr) budget_->Return(bytes_);
}

}  // namespace core_image
