// row_window.h - the rows of a picture that is too large to be held: decoded in order, and dropped again.
//
// A rendering goes through a picture from top to bottom, so its rows are decoded as they are needed, and a window of
// the latest ones is kept for the strips that overlap. Requests for rows above the window begin again with the first
// row. When that happens, the requests are not in order, and the window is then kept as large as the budget permits.
//
// What is kept decides how long a rendering takes, not what it renders.
//
// Lifetime: a window belongs to the images of its picture; strips are shared with the stages that read them.
// Threads:  any; one at a time decodes.
// Failure:  SourceFailure, MemoryShortage.

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/tile.h"

namespace core_image {

// Thrown when a picture cannot be decoded. The text names the picture and the reason.
class SourceFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The functions that decode a picture. They throw nothing.
struct RowReader {
    void* object = nullptr;
    // Decodes the next rows. Returns null, or else what is wrong, valid until the next call.
    const char* (*read)(void* object, void* rows, std::size_t count) = nullptr;
    // Makes the first row the next one.
    void (*rewind)(void* object) = nullptr;
    void (*release)(void* object) = nullptr;
};

// Consecutive rows in memory.
class RowStrip {
  public:
    // Throws MemoryShortage.
    RowStrip(std::size_t first, std::size_t count, std::size_t bytesPerRow);

    std::size_t First() const { return first_; }
    std::size_t Count() const { return count_; }
    std::uint8_t* Bytes() const { return bytes_.get(); }

  private:
    std::size_t first_, count_;
    BudgetShare share_;
    std::unique_ptr<std::uint8_t[], FreePooled> bytes_;
};

class RowWindow {
  public:
    using Strips = std::vector<std::shared_ptr<const RowStrip>>;

    // The owner keeps the reader's object.
    RowWindow(const RowReader& reader, std::shared_ptr<void> owner, std::size_t height, std::size_t bytesPerRow);
    ~RowWindow();
    RowWindow(const RowWindow&) = delete;

    // Drops all rows of all windows, but for those of windows that other threads are using.
    static void DropAll();

    // The strips that contain the rows from first to last, in order.
    Strips Rows(std::size_t first, std::size_t last);

    // Drops the strips that lie entirely above a row.
    void DropAbove(std::size_t row);

    // Drops all rows. The next request begins with the first row again, and is in order.
    void Restart();

    // How many rows each strip but the last one has.
    std::size_t RowsPerStrip() const { return rowsPerStrip_; }

  private:
    std::shared_ptr<const RowStrip> Decode();
    void Drop(std::size_t begin, std::size_t end);

    const RowReader reader_;
    const std::shared_ptr<void> owner_;
    const std::size_t height_, bytesPerRow_, rowsPerStrip_;
    std::recursive_mutex mutex_;  // decoding may find memory short, and then the windows give theirs back
    std::map<std::size_t, std::shared_ptr<const RowStrip>> kept_;  // by their indices
    std::size_t next_ = 0;                                         // the index of the strip to be decoded next
    bool isOutOfOrder_ = false;
};

}  // namespace core_image
