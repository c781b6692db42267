// memory_budget.h - the memory that a rendering may hold.
//
// Counted are the large buffers of a rendering: images that are held, reduced copies, sums. Tiles are not: there are
// few of them for each thread. A rendering that would exceed its budget is divided into smaller blocks, and fails when
// that does not help.
//
// Lifetime: a budget outlives the renderings that it is passed to. Several may share one.
// Threads:  any; a scope affects only its own thread, which is the one that prepares.

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

namespace core_image {

// Thrown when memory is short.
class MemoryShortage : public std::bad_alloc {
  public:
    MemoryShortage(std::uint64_t needed, std::uint64_t limit) : needed_(needed), limit_(limit) {}

    const char* what() const noexcept override { return "memory is short"; }

    // The bytes that the rendering held or asked for when it failed: at least this much is needed.
    std::uint64_t Needed() const { return needed_; }

    // The budget in bytes; 0 when the system refused the memory.
    std::uint64_t Limit() const { return limit_; }

  private:
    std::uint64_t needed_;
    std::uint64_t limit_;
};

// A limit, and how much of it is in use.
class MemoryBudget {
  public:
    explicit MemoryBudget(std::uint64_t limit) : limit_(limit) {}
    MemoryBudget(const MemoryBudget&) = delete;

    // The budget of renderings without one of their own: DefaultLimit() unless another limit is set.
    static MemoryBudget& Default();

    // A quarter of the machine's memory, or of the limit of the process's control group where that is lower. At most
    // 1 GB where pointers have 32 bits.
    static std::uint64_t DefaultLimit();

    std::uint64_t Limit() const { return limit_.load(std::memory_order_relaxed); }
    void SetLimit(std::uint64_t limit) { limit_.store(limit, std::memory_order_relaxed); }
    std::uint64_t Used() const { return used_.load(std::memory_order_relaxed); }

    // Takes bytes from the budget. When too few are left, what can be made again is freed first. Throws MemoryShortage
    // when that is not enough, and then takes nothing.
    void Take(std::uint64_t bytes);
    void Return(std::uint64_t bytes) { used_.fetch_sub(bytes, std::memory_order_relaxed); }

    // Sets the function that frees what can be made again.
    static void OnShortage(void (*reclaim)());

  private:
    bool CanTake(std::uint64_t bytes);

    std::atomic<std::uint64_t> limit_;
    std::atomic<std::uint64_t> used_ = 0;
};

// Counts the buffers that this thread allocates within the scope in a budget.
class BudgetScope {
  public:
    explicit BudgetScope(MemoryBudget& budget);
    ~BudgetScope();
    BudgetScope(const BudgetScope&) = delete;

    // Whether half of the budget of this thread's scope is free, for what is held only to save time. True outside of
    // scopes.
    static bool IsHalfFree();

  private:
    MemoryBudget* before_;
};

// A buffer's part of the budget of the scope in which it was made.
class BudgetShare {
  public:
    // Throws MemoryShortage. Small buffers are not counted, and neither is anything outside of a scope.
    explicit BudgetShare(std::uint64_t bytes);
    BudgetShare(BudgetShare&& other) noexcept;
    BudgetShare& operator=(BudgetShare&& other) noexcept;
    ~BudgetShare();

  private:
    MemoryBudget* budget_ = nullptr;
    std::uint64_t bytes_ = 0;
};

}  // namespace core_image
