// row_window.cpp - decodes strips of about a megabyte.

#include "core/row_window.h"

#include <algorithm>
#include <set>
#include <utility>

namespace core_image {
namespace {

// Large enough to be counted by the budget.
constexpr std::size_t kStripBytes = 1 << 20;

// What is kept beyond a request, while requests are in order: the rows that the neighborhoods of the next strip share
// with this one.
constexpr std::size_t kKeptBytes = 8 << 20;

// What is kept otherwise, as a part of the budget.
constexpr std::uint64_t kPartOfBudget = 4;

// All windows, because memory that one needs may be in the others.
struct Registry {
    std::mutex mutex;
    std::set<RowWindow*> windows;
};

Registry& AllWindows() {
    static Registry registry;
    return registry;
}

}  // namespace

RowStrip::RowStrip(std::size_t first, std::size_t count, std::size_t bytesPerRow)
    : first_(first),
      count_(count),
      share_(count * bytesPerRow),
      bytes_(static_cast<std::uint8_t*>(AllocatePooled(count * bytesPerRow))) {}

RowWindow::RowWindow(const RowReader& reader, std::shared_ptr<void> owner, std::size_t height, std::size_t bytesPerRow)
    : reader_(reader),
      owner_(std::move(owner)),
      height_(height),
      bytesPerRow_(bytesPerRow),
      rowsPerStrip_((kStripBytes + bytesPerRow - 1) / bytesPerRow) {
    MemoryBudget::OnShortage(DropAll);
    const std::lock_guard<std::mutex> lock(AllWindows().mutex);
    AllWindows().windows.insert(this);
}

RowWindow::~RowWindow() {
    const std::lock_guard<std::mutex> lock(AllWindows().mutex);
    AllWindows().windows.erase(this);
}

void RowWindow::DropAll() {
    const std::lock_guard<std::mutex> lock(AllWindows().mutex);
    for (RowWindow* window : AllWindows().windows) {
        const std::unique_lock<std::recursive_mutex> own(window->mutex_, std::try_to_lock);
        if (own.owns_lock()) window->kept_.clear();
    }
}

RowWindow::Strips RowWindow::Rows(std::size_t first, std::size_t last) {
    // Kept strips outlive the rendering, so they count in the budget that does.
    const BudgetScope scope(MemoryBudget::Default());
    const std::lock_guard<std::recursive_mutex> lock(mutex_);
    const std::size_t begin = first / rowsPerStrip_, end = last / rowsPerStrip_ + 1;
    Strips strips;
    for (std::size_t index = begin; index < end; ++index) {
        if (const auto found = kept_.find(index); found != kept_.end()) {
            strips.push_back(found->second);
            continue;
        }
        if (index < next_) {
            reader_.rewind(reader_.object);
            isOutOfOrder_ = true;
            next_ = 0;
        }
        std::shared_ptr<const RowStrip> strip;
        while (next_ <= index) {
            Drop(begin, end);
            strip = Decode();
            kept_.insert_or_assign(strip->First() / rowsPerStrip_, strip);
        }
        strips.push_back(std::move(strip));
    }
    Drop(begin, end);
    return strips;
}

void RowWindow::DropAbove(std::size_t row) {
    const std::lock_guard<std::recursive_mutex> lock(mutex_);
    kept_.erase(kept_.begin(), kept_.lower_bound(row / rowsPerStrip_));
}

void RowWindow::Restart() {
    const std::lock_guard<std::recursive_mutex> lock(mutex_);
    kept_.clear();
    reader_.rewind(reader_.object);
    next_ = 0;
}

std::shared_ptr<const RowStrip> RowWindow::Decode() {
    const std::size_t first = next_ * rowsPerStrip_;
    const auto strip = std::make_shared<RowStrip>(first, std::min(rowsPerStrip_, height_ - first), bytesPerRow_);
    // After a failure the reader is at an unknown place; a later request begins again.
    next_ = SIZE_MAX;
    if (const char* reason = reader_.read(reader_.object, strip->Bytes(), strip->Count())) throw SourceFailure(reason);
    next_ = first / rowsPerStrip_ + 1;
    return strip;
}

// Drops the uppermost strips that are not among the requested ones, while there are too many. While requests are in
// order, the strips below the requested ones are the next to be requested.
void RowWindow::Drop(std::size_t begin, std::size_t end) {
    const std::uint64_t most =
        std::max<std::uint64_t>(kKeptBytes, isOutOfOrder_ ? MemoryBudget::Default().Limit() / kPartOfBudget : 0);
    const auto isRequested = [&](std::size_t index) { return index >= begin && index < end; };
    auto spare = static_cast<std::uint64_t>(
        std::ranges::count_if(kept_, [&](const auto& strip) { return !isRequested(strip.first); }));
    for (auto strip = kept_.begin(); strip != kept_.end() && spare * rowsPerStrip_ * bytesPerRow_ > most;) {
        if (isRequested(strip->first)) {
            strip = isOutOfOrder_ ? kept_.lower_bound(end) : kept_.end();
        } else {
            strip = kept_.erase(strip);
            --spare;
        }
    }
}

}  // namespace core_image
