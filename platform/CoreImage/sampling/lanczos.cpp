// lanczos.cpp - one sine for each output pixel; those of its weights follow by rotation.

#include "sampling/lanczos.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace core_image {
namespace {

constexpr double kLobes = 3;

// Weights are multiples of this. With a sum of 1 and all partial sums below 4, floats add them without rounding.
constexpr double kWeightStep = 0x1p-22;

// sinc(t) sinc(t / 3), given x = pi t / 3 and its sine; sin(3 x) = 3 sin x - 4 sin^3 x.
double LanczosAt(double x, double sine) {
    constexpr double kCenter = 1e-7;
    if (std::abs(x) < kCenter) return 1;
    const double square = sine * sine;
    return (3 - 4 * square) * square / (3 * x * x);
}

// Rounds weights to steps with a sum of exactly 1: the largest one takes what is left.
void Normalize(std::vector<double>& weights) {
    double sum = 0;
    for (const double weight : weights) sum += weight;
    double rest = 1;
    for (double& weight : weights) {
        weight = std::round(weight / (sum * kWeightStep)) * kWeightStep;
        rest -= weight;
    }
    *std::ranges::max_element(weights) += rest;
}

}  // namespace

ResizedLine::Range ResizedLine::Around(std::int64_t index) const {
    const double center = start + (static_cast<double>(index) + 0.5) * step;
    const double reach = kLobes * std::max(step, 1.0);
    return {std::max(low, static_cast<std::int64_t>(std::ceil(center - reach - 0.5))),
            std::min(high, static_cast<std::int64_t>(std::floor(center + reach - 0.5)) + 1)};
}

LanczosWeights::LanczosWeights(const ResizedLine& line, std::int64_t begin, std::int64_t end, std::size_t multiple,
                               std::size_t spare)
    : begin_(begin) {
    for (std::int64_t index = begin; index < end; ++index) {
        const ResizedLine::Range range = line.Around(index);
        stride_ = std::max(stride_, static_cast<std::size_t>(range.end - range.begin));
    }
    stride_ = (stride_ + multiple - 1) / multiple * multiple;
    const auto pixels = static_cast<std::size_t>(end - begin);
    memory_ = BudgetShare(pixels * (stride_ * sizeof(float) + sizeof(std::int64_t) + sizeof(std::size_t)));
    weights_.resize(pixels * stride_ + spare);
    first_.reserve(pixels);
    count_.reserve(pixels);
    const double turn = std::numbers::pi / (kLobes * std::max(line.step, 1.0));
    const double turnCosine = std::cos(turn), turnSine = std::sin(turn);
    std::vector<double> weights;
    for (std::int64_t index = begin; index < end; ++index) {
        const ResizedLine::Range range = line.Around(index);
        const double center = line.start + (static_cast<double>(index) + 0.5) * line.step;
        const double start = (static_cast<double>(range.begin) + 0.5 - center) * turn;
        double sine = std::sin(start), cosine = std::cos(start);
        weights.resize(static_cast<std::size_t>(range.end - range.begin));
        for (std::size_t k = 0; k < weights.size(); ++k) {
            weights[k] = LanczosAt(start + static_cast<double>(k) * turn, sine);
            const double nextSine = sine * turnCosine + cosine * turnSine;
            cosine = cosine * turnCosine - sine * turnSine;
            sine = nextSine;
        }
        Normalize(weights);
        // An image of the same size has one weight for each pixel.
        const auto isUsed = [](double weight) { return weight != 0; };
        const auto first = std::ranges::find_if(weights, isUsed);
        const auto last = std::find_if(weights.rbegin(), weights.rend(), isUsed).base();
        first_.push_back(range.begin + (first - weights.begin()));
        count_.push_back(static_cast<std::size_t>(last - first));
        std::transform(first, last, weights_.begin() + (index - begin) * static_cast<std::ptrdiff_t>(stride_),
                       [](double weight) { return static_cast<float>(weight); });
    }
}

}  // namespace core_image
