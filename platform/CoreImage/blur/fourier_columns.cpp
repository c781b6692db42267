// fourier_columns.cpp - radix 4, compiled once per instruction set; the best one is chosen at the first call.

#include "blur/fourier_columns.h"

#include <cmath>
#include <iterator>
#include <numbers>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "blur/fourier_columns.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// So many rows fit into the L1 cache; parts of longer columns are completed one after the other.
constexpr std::size_t kRowsInCache = 256;

// Numbers of neighboring columns.
struct Complex {
    Wide real, imaginary;

    HWY_INLINE static Complex At(const float* row) {
        return {hn::LoadU(WideTag(), row), hn::LoadU(WideTag(), row + kFourierColumns)};
    }
    HWY_INLINE void Store(float* row) const {
        hn::StoreU(real, WideTag(), row);
        hn::StoreU(imaginary, WideTag(), row + kFourierColumns);
    }
};

HWY_INLINE Complex operator+(const Complex& a, const Complex& b) {
    return {hn::Add(a.real, b.real), hn::Add(a.imaginary, b.imaginary)};
}

HWY_INLINE Complex operator-(const Complex& a, const Complex& b) {
    return {hn::Sub(a.real, b.real), hn::Sub(a.imaginary, b.imaginary)};
}

HWY_INLINE Complex TimesI(const Complex& a) { return {hn::Neg(a.imaginary), a.real}; }

HWY_INLINE Complex Times(const Complex& a, const Twiddles::Factor& factor) {
    const Wide real = Constant(factor.real), imaginary = Constant(factor.imaginary);
    return {hn::NegMulAdd(a.imaginary, imaginary, hn::Mul(a.real, real)),
            hn::MulAdd(a.real, imaginary, hn::Mul(a.imaginary, real))};
}

HWY_INLINE Complex TimesConjugate(const Complex& a, const Twiddles::Factor& factor) {
    const Wide real = Constant(factor.real), imaginary = Constant(factor.imaginary);
    return {hn::MulAdd(a.imaginary, imaginary, hn::Mul(a.real, real)),
            hn::NegMulAdd(a.real, imaginary, hn::Mul(a.imaginary, real))};
}

// Calls a function with an index for each vector of a row.
template <class Function>
HWY_INLINE void ForEachOfRow(const Function& function) {
    for (std::size_t i = 0; i < kFourierColumns; i += hn::MaxLanes(WideTag())) function(i);
}

// Calls a function with the places of four numbers, one in each quarter of the rows, and with their twiddle factors.
template <class Function>
HWY_INLINE void ForEachFour(float* strip, std::size_t rows, const Twiddles* twiddles, const Function& function) {
    const std::size_t quarter = rows / 4 * kFourierRowFloats;
    for (std::size_t row = 0; row < rows / 4; ++row) {
        ForEachOfRow([&](std::size_t i) HWY_ATTR {
            float* const first = strip + row * kFourierRowFloats + i;
            function(first, first + quarter, first + 2 * quarter, first + 3 * quarter, twiddles[row].factors);
        });
    }
}

// Makes the four transforms of a quarter of the rows from which that of all rows is made.
HWY_INLINE void Divide(float* strip, std::size_t rows, const Twiddles* twiddles) {
    ForEachFour(strip, rows, twiddles,
                [](float* p0, float* p1, float* p2, float* p3, const Twiddles::Factor* factors) HWY_ATTR {
                    const Complex a = Complex::At(p0), b = Complex::At(p1), c = Complex::At(p2), d = Complex::At(p3);
                    const Complex even = a + c, evenRest = a - c, odd = b + d, oddRest = TimesI(b - d);
                    (even + odd).Store(p0);
                    Times(evenRest - oddRest, factors[0]).Store(p1);
                    Times(even - odd, factors[1]).Store(p2);
                    Times(evenRest + oddRest, factors[2]).Store(p3);
                });
}

// The way back.
HWY_INLINE void Unite(float* strip, std::size_t rows, const Twiddles* twiddles) {
    ForEachFour(strip, rows, twiddles,
                [](float* p0, float* p1, float* p2, float* p3, const Twiddles::Factor* factors) HWY_ATTR {
                    const Complex a = Complex::At(p0), b = TimesConjugate(Complex::At(p1), factors[0]),
                                  c = TimesConjugate(Complex::At(p2), factors[1]),
                                  d = TimesConjugate(Complex::At(p3), factors[2]);
                    const Complex even = a + c, evenRest = a - c, odd = b + d, oddRest = TimesI(b - d);
                    (even + odd).Store(p0);
                    (evenRest + oddRest).Store(p1);
                    (even - odd).Store(p2);
                    (evenRest - oddRest).Store(p3);
                });
}

// The same for every two rows.
HWY_INLINE void AddAndSubtract(float* strip, std::size_t rows) {
    for (std::size_t row = 0; row < rows; row += 2, strip += 2 * kFourierRowFloats) {
        ForEachOfRow([=](std::size_t i) HWY_ATTR {
            float *const p0 = strip + i, *const p1 = p0 + kFourierRowFloats;
            const Complex a = Complex::At(p0), b = Complex::At(p1);
            (a + b).Store(p0);
            (a - b).Store(p1);
        });
    }
}

HWY_ATTR void TransformColumns(float* strip, std::size_t rows, const Twiddles* twiddles) {
    if (rows > kRowsInCache) {
        Divide(strip, rows, twiddles);
        for (std::size_t part = 0; part < rows; part += rows / 4) {
            HWY_NAMESPACE::TransformColumns(strip + part * kFourierRowFloats, rows / 4, twiddles + rows / 4);
        }
        return;
    }
    std::size_t size = rows;
    for (; size >= 4; twiddles += size / 4, size /= 4) {
        for (std::size_t row = 0; row < rows; row += size) Divide(strip + row * kFourierRowFloats, size, twiddles);
    }
    if (size == 2) AddAndSubtract(strip, rows);
}

HWY_ATTR void TransformColumnsBack(float* strip, std::size_t rows, const Twiddles* twiddles) {
    if (rows > kRowsInCache) {
        for (std::size_t part = 0; part < rows; part += rows / 4) {
            HWY_NAMESPACE::TransformColumnsBack(strip + part * kFourierRowFloats, rows / 4, twiddles + rows / 4);
        }
        Unite(strip, rows, twiddles);
        return;
    }
    std::size_t size = rows;
    for (; size >= 4; size /= 4) twiddles += size / 4;
    if (size == 2) AddAndSubtract(strip, rows);
    for (size *= 4; size <= rows; size *= 4) {
        twiddles -= size / 4;
        for (std::size_t row = 0; row < rows; row += size) Unite(strip + row * kFourierRowFloats, size, twiddles);
    }
}

HWY_ATTR void MultiplyColumns(float* strip, std::size_t rows, const float* factors) {
    for (std::size_t row = 0; row < rows; ++row, strip += kFourierRowFloats, factors += kFourierColumns) {
        ForEachOfRow([=](std::size_t i) HWY_ATTR {
            const Wide factor = hn::LoadU(WideTag(), factors + i);
            const Complex number = Complex::At(strip + i);
            Complex{hn::Mul(number.real, factor), hn::Mul(number.imaginary, factor)}.Store(strip + i);
        });
    }
}

// Exchanges the columns and rows of four vectors.
HWY_INLINE void ExchangeFour(const float* from, float* to) {
    const hn::Full128<float> d;
    const auto a = hn::LoadU(d, from), b = hn::LoadU(d, from + kFourierRowFloats),
               c = hn::LoadU(d, from + 2 * kFourierRowFloats), e = hn::LoadU(d, from + 3 * kFourierRowFloats);
    const auto ac = hn::InterleaveLower(d, a, c), be = hn::InterleaveLower(d, b, e);
    const auto acUpper = hn::InterleaveUpper(d, a, c), beUpper = hn::InterleaveUpper(d, b, e);
    hn::StoreU(hn::InterleaveLower(d, ac, be), d, to);
    hn::StoreU(hn::InterleaveUpper(d, ac, be), d, to + kFourierRowFloats);
    hn::StoreU(hn::InterleaveLower(d, acUpper, beUpper), d, to + 2 * kFourierRowFloats);
    hn::StoreU(hn::InterleaveUpper(d, acUpper, beUpper), d, to + 3 * kFourierRowFloats);
}

HWY_ATTR void ExchangeColumns(const float* from, float* to, const float* ahead) {
    for (std::size_t part = 0; part < kFourierRowFloats; part += kFourierColumns) {
        for (std::size_t row = 0; row < kFourierColumns; row += 4) {
            for (std::size_t column = 0; column < kFourierColumns; column += 4, ahead += kFloatsPerLine) {
                hwy::Prefetch(ahead);
                ExchangeFour(from + row * kFourierRowFloats + part + column,
                             to + column * kFourierRowFloats + part + row);
            }
        }
    }
}

HWY_ATTR void SplitPixels(const float* pixels, std::size_t count, float* redGreen, float* blueAlpha,
                          std::ptrdiff_t apart, RowsAhead ahead, PixelRange& range) {
    const WideTag d;
    const Wide one = Constant(1);
    Wide largest = hn::Set(d, range.largest), notOne = hn::Zero(d);
    for (; count > 0; count -= kFourierColumns, redGreen += apart, blueAlpha += apart) {
        ahead.Prefetch(kFourierColumns * kFloatsPerPixel / kFloatsPerLine);
        for (std::size_t i = 0; i < kFourierColumns;
             i += hn::MaxLanes(d), pixels += hn::MaxLanes(d) * kFloatsPerPixel) {
            Wide red, green, blue, alpha;
            hn::LoadInterleaved4(d, pixels, red, green, blue, alpha);
            Complex{red, green}.Store(redGreen + i);
            Complex{blue, alpha}.Store(blueAlpha + i);
            for (const Wide& each : {red, green, blue, alpha}) {
                largest = hn::Max(largest, hn::IfThenElse(hn::Eq(each, each), hn::Abs(each), hn::Inf(d)));
            }
            notOne = hn::IfThenElse(hn::Eq(alpha, one), notOne, one);
        }
    }
    range.largest = hn::GetLane(hn::MaxOfLanes(d, largest));
    range.isOpaque = range.isOpaque && hn::AllTrue(d, hn::Eq(notOne, hn::Zero(d)));
}

HWY_ATTR void JoinPixels(const float* redGreen, const float* blueAlpha, std::ptrdiff_t apart, float least,
                         bool isOpaque, float* pixels, std::size_t count, RowsAhead ahead) {
    const WideTag d;
    const auto clean = [=](const Wide& number)
                           HWY_ATTR { return hn::IfThenElseZero(hn::Ge(hn::Abs(number), Constant(least)), number); };
    for (; count > 0; count -= kFourierColumns, redGreen += apart, blueAlpha += apart) {
        ahead.Prefetch(kFourierColumns * kFloatsPerPixel / kFloatsPerLine);
        for (std::size_t i = 0; i < kFourierColumns;
             i += hn::MaxLanes(d), pixels += hn::MaxLanes(d) * kFloatsPerPixel) {
            const Complex first = Complex::At(redGreen + i), second = Complex::At(blueAlpha + i);
            const Wide alpha = isOpaque ? Constant(1) : clean(second.imaginary);
            hn::StoreInterleaved4(clean(first.real), clean(first.imaginary), clean(second.real), alpha, d, pixels);
        }
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(TransformColumns);
HWY_EXPORT(TransformColumnsBack);
HWY_EXPORT(MultiplyColumns);
HWY_EXPORT(ExchangeColumns);
HWY_EXPORT(SplitPixels);
HWY_EXPORT(JoinPixels);

// A cache line more keeps strips apart whose rows would compete for the same cache sets.
Strips::Strips(std::int64_t rows, std::int64_t strips)
    : apart_(rows * std::int64_t{kFourierRowFloats} + std::int64_t{kFloatsPerLine}),
      numbers_(static_cast<float*>(AllocatePooled(static_cast<std::size_t>(apart_ * strips) * sizeof(float)))) {}

std::vector<Twiddles> TwiddlesFor(std::size_t rows) {
    std::vector<Twiddles> all;
    for (; rows >= 4; rows /= 4) {
        for (std::size_t row = 0; row < rows / 4; ++row) {
            Twiddles& at = all.emplace_back();
            for (std::size_t i = 0; i < std::size(at.factors); ++i) {
                const double angle =
                    -2 * std::numbers::pi * static_cast<double>((i + 1) * row) / static_cast<double>(rows);
                at.factors[i] = {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle))};
            }
        }
    }
    return all;
}

void TransformColumns(float* strip, std::size_t rows, const Twiddles* twiddles) {
    HWY_DYNAMIC_DISPATCH(TransformColumns)(strip, rows, twiddles);
}

void TransformColumnsBack(float* strip, std::size_t rows, const Twiddles* twiddles) {
    HWY_DYNAMIC_DISPATCH(TransformColumnsBack)(strip, rows, twiddles);
}

void MultiplyColumns(float* strip, std::size_t rows, const float* factors) {
    HWY_DYNAMIC_DISPATCH(MultiplyColumns)(strip, rows, factors);
}

void ExchangeColumns(const float* from, float* to, const float* ahead) {
    HWY_DYNAMIC_DISPATCH(ExchangeColumns)(from, to, ahead);
}

void SplitPixels(const float* pixels, std::size_t count, float* redGreen, float* blueAlpha, std::ptrdiff_t apart,
                 RowsAhead ahead, PixelRange& range) {
    HWY_DYNAMIC_DISPATCH(SplitPixels)(pixels, count, redGreen, blueAlpha, apart, ahead, range);
}

void JoinPixels(const float* redGreen, const float* blueAlpha, std::ptrdiff_t apart, float least, bool isOpaque,
                float* pixels, std::size_t count, RowsAhead ahead) {
    HWY_DYNAMIC_DISPATCH(JoinPixels)(redGreen, blueAlpha, apart, least, isOpaque, pixels, count, ahead);
}

}  // namespace core_image
#endif
