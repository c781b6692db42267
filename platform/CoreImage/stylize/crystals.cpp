// crystals.cpp - compares one node at a time with a whole vector of places.

#include "stylize/crystals.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/crystals.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

HWY_ATTR void FindNearest(const SeedTable& seeds, const GridPlaces& places, std::size_t count,
                          const NearestSeeds& nearest) {
    const WideTag d;
    const hn::RebindToSigned<WideTag> integers;
    const auto stride = static_cast<std::int32_t>(seeds.Nodes().width);
    for (std::size_t index = 0; index < count; index += hn::Lanes(d)) {
        const Wide left = hn::LoadU(d, places.x + index);
        const auto node = hn::LoadU(integers, places.nodes + index);
        // Pixels are less than a node apart, so that the seeds of a vector of them fit into a vector: looking them up
        // in it is faster than gathering them.
        const std::int32_t leftmost = places.nodes[index];
        const auto inVector = hn::IndicesFromVec(d, hn::Sub(node, hn::Set(integers, leftmost)));
        // For each of the two nearest: the squared distance, and which of the nodes it belongs to.
        Wide least1 = Constant(1e30f), least2 = least1;
        auto which1 = hn::Zero(integers), which2 = which1;
        for (std::int32_t row = 0; row < kNodesAcross; ++row) {
            for (std::int32_t column = 0; column < kNodesAcross; ++column) {
                const std::int32_t step = (row - kNodesBefore) * stride + column - kNodesBefore;
                const auto seed = [&](const float* of) HWY_ATTR {
                    return hn::TableLookupLanes(hn::LoadU(d, of + leftmost + step), inVector);
                };
                const Wide x =
                    hn::Sub(hn::Add(seed(seeds.X()), Constant(static_cast<float>(column - kNodesBefore))), left);
                const Wide y = hn::Add(seed(seeds.Y()), Constant(static_cast<float>(row - kNodesBefore) - places.y));
                const Wide distance = hn::MulAdd(x, x, hn::Mul(y, y));
                const auto which = hn::Set(integers, row * kNodesAcross + column);
                const auto isFirst = hn::RebindMask(integers, hn::Lt(distance, least1));
                const auto isSecond = hn::RebindMask(integers, hn::Lt(distance, least2));
                least2 = hn::Max(least1, hn::Min(distance, least2));
                which2 = hn::IfThenElse(isFirst, which1, hn::IfThenElse(isSecond, which, which2));
                least1 = hn::Min(distance, least1);
                which1 = hn::IfThenElse(isFirst, which, which1);
            }
        }
        // Sets the index of a node, and returns its seed's position within the nodes searched.
        const auto find = [&](auto which, auto& number, Wide& x, Wide& y) HWY_ATTR {
            const auto row = hn::ShiftRight<kNodesAcrossBits>(which);
            const auto column = hn::And(which, hn::Set(integers, kNodesAcross - 1));
            const auto start = hn::Sub(node, hn::Set(integers, kNodesBefore * (stride + 1)));
            number = hn::Add(hn::Add(start, column), hn::Mul(row, hn::Set(integers, stride)));
            x = hn::Add(hn::GatherIndex(d, seeds.X(), number), hn::ConvertTo(d, column));
            y = hn::Add(hn::GatherIndex(d, seeds.Y(), number), hn::ConvertTo(d, row));
        };
        Wide x1, y1, x2, y2;
        auto first = node, second = node;
        find(which1, first, x1, y1);
        find(which2, second, x2, y2);
        const Wide dx = hn::Sub(x2, x1), dy = hn::Sub(y2, y1);
        const Wide between = hn::Sqrt(hn::MulAdd(dx, dx, hn::Mul(dy, dy)));
        hn::StoreU(first, integers, nearest.first + index);
        hn::StoreU(second, integers, nearest.second + index);
        hn::StoreU(hn::Div(hn::Sub(least2, least1), hn::Max(hn::Add(between, between), Constant(1e-6f))), d,
                   nearest.distance + index);
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(FindNearest);

void FindNearest(const SeedTable& seeds, const GridPlaces& places, std::size_t count, const NearestSeeds& nearest) {
    HWY_DYNAMIC_DISPATCH(FindNearest)(seeds, places, count, nearest);
}

Seed SeedOf(std::int64_t column, std::int64_t row) {
    // Two odd factors tell columns from rows; two rounds of shifting and multiplying mix all bits with all others.
    std::uint64_t bits = static_cast<std::uint64_t>(column) * 0x9e3779b97f4a7c15u +
                         static_cast<std::uint64_t>(row) * 0xc2b2ae3d27d4eb4fu;
    for (int round = 0; round < 2; ++round) bits = (bits ^ (bits >> 29)) * 0xbf58476d1ce4e5b9u;
    bits ^= bits >> 32;
    const auto within = [](std::uint64_t value) {
        return static_cast<float>(static_cast<std::int64_t>(value & 0xffff) - 0x8000) / (3 * 0x8000);
    };
    return {within(bits), within(bits >> 16)};
}

SeedTable::SeedTable(const Region& nodes) : nodes_(nodes) {
    for (std::int64_t row = nodes.y; row < nodes.Top(); ++row) {
        for (std::int64_t column = nodes.x; column < nodes.Right(); ++column) {
            const Seed seed = SeedOf(column, row);
            x_.push_back(seed.x);
            y_.push_back(seed.y);
        }
    }
    // Seeds are read in whole vectors.
    x_.resize(x_.size() + kBlockPixels);
    y_.resize(y_.size() + kBlockPixels);
}

}  // namespace core_image
#endif
