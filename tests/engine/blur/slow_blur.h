// slow_blur.h - a Gaussian blur that is slow and obvious: doubles, weights to eight sigma, rows first and then columns.

#pragma once

#include "support/oracle.h"

namespace oracle {

// A function over the plane, blurred: all pixels of a region. A sigma of 0 blurs nothing.
class SlowGaussian {
  public:
    SlowGaussian(const Slow& function, double sigma, const Region& region) : region_(region) {
        const auto reach = static_cast<std::int64_t>(std::ceil(8 * sigma));
        std::vector<double> weights;
        double sum = 0;
        for (std::int64_t distance = -reach; distance <= reach; ++distance) {
            const double share = sigma > 0 ? static_cast<double>(distance) / sigma : 0;
            weights.push_back(std::exp(-0.5 * share * share));
            sum += weights.back();
        }
        const auto weigh = [&](const auto& value) {
            double total = 0;
            for (std::int64_t distance = -reach; distance <= reach; ++distance)
                total += weights[static_cast<std::size_t>(distance + reach)] / sum * value(distance);
            return total;
        };
        const Region rows = {region.x, region.y - reach, region.width, region.height + 2 * reach};
        const auto place = [](const Region& all, std::int64_t x, std::int64_t y, std::size_t channel) {
            return static_cast<std::size_t>((y - all.y) * all.width + x - all.x) * 4 + channel;
        };
        std::vector<double> along(static_cast<std::size_t>(rows.width * rows.height) * 4);
        const auto forEach = [](const Region& all, const auto& visit) {
            for (std::int64_t y = all.y; y < all.Top(); ++y)
                for (std::int64_t x = all.x; x < all.Right(); ++x)
                    for (std::size_t channel = 0; channel < 4; ++channel) visit(x, y, channel);
        };
        forEach(rows, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            along[place(rows, x, y, channel)] =
                weigh([&](std::int64_t distance) { return function(x + distance, y, channel); });
        });
        values_.resize(static_cast<std::size_t>(region.width * region.height) * 4);
        forEach(region, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            values_[place(region, x, y, channel)] =
                weigh([&](std::int64_t distance) { return along[place(rows, x, y + distance, channel)]; });
        });
    }

    double operator()(std::int64_t x, std::int64_t y, std::size_t channel) const {
        return values_[static_cast<std::size_t>((y - region_.y) * region_.width + x - region_.x) * 4 + channel];
    }

  private:
    Region region_;
    std::vector<double> values_;
};

}  // namespace oracle
