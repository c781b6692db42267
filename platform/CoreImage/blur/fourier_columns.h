// fourier_columns.h - Fourier transforms of columns of complex numbers, vectorized for the processor.
//
// Columns lie side by side in a strip, so that vectors hold neighbors of a row and nothing has to be shuffled. A row
// of a strip is kFourierColumns real parts, then as many imaginary parts. The numbers of a transformed column are left
// in the order in which they are made; the way back begins with that order.
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/ahead.h"
#include "core/run.h"

namespace core_image {

inline constexpr std::size_t kFourierColumns = kBlockPixels, kFourierRowFloats = 2 * kFourierColumns;

// Strips side by side, in pooled memory that is not cleared. Throws MemoryShortage.
class Strips {
  public:
    Strips(std::int64_t rows, std::int64_t strips);

    float* Row(std::int64_t strip, std::int64_t row) const {
        return &numbers_[strip * apart_ + row * std::int64_t{kFourierRowFloats}];
    }
    // How many floats a strip begins after the one before.
    std::ptrdiff_t Apart() const { return static_cast<std::ptrdiff_t>(apart_); }

  private:
    std::int64_t apart_;
    std::unique_ptr<float[], FreePooled> numbers_;
};

// Twiddle factors: the complex numbers by which the last three quarters of a column are multiplied, at one row of a
// quarter.
struct Twiddles {
    struct Factor {
        float real, imaginary;
    };
    Factor factors[3];
};

// The twiddle factors for columns of so many rows: those of the whole, then those of a quarter, then those of a quarter
// of that.
std::vector<Twiddles> TwiddlesFor(std::size_t rows);

// Transforms the columns of a strip in place. The number of rows is a power of two, at least 4.
void TransformColumns(float* strip, std::size_t rows, const Twiddles* twiddles);

// Transforms them back, but for a division by the number of rows.
void TransformColumnsBack(float* strip, std::size_t rows, const Twiddles* twiddles);

// Multiplies the rows by those of factors, which are kFourierColumns real numbers.
void MultiplyColumns(float* strip, std::size_t rows, const float* factors);

// Writes kFourierColumns rows with columns and rows exchanged. As many rows from `ahead` on are prefetched meanwhile.
void ExchangeColumns(const float* from, float* to, const float* ahead);

// What the pixels of rows are like.
struct PixelRange {
    float largest = 0;     // the magnitude of a number; infinite if one is not a number
    bool isOpaque = true;  // whether every alpha is 1
};

// Splits the pixels of a row into the rows of strips: red and green become the parts of a complex number in one of
// them, blue and alpha in another. The next strips, of the next kFourierColumns pixels, begin `apart` floats later. The
// count is a multiple of kFourierColumns.
void SplitPixels(const float* pixels, std::size_t count, float* redGreen, float* blueAlpha, std::ptrdiff_t apart,
                 RowsAhead ahead, PixelRange& range);

// Joins them to pixels again. Numbers nearer to 0 than `least` become 0; every alpha becomes 1 if the result is opaque.
void JoinPixels(const float* redGreen, const float* blueAlpha, std::ptrdiff_t apart, float least, bool isOpaque,
                float* pixels, std::size_t count, RowsAhead ahead);

}  // namespace core_image
