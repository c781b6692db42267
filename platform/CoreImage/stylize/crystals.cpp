// crystals.cpp - compares one seed at a time with a whole vector of places.

#include "stylize/crystals.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/crystals.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

HWY_ATTR void FindNearest(const NearSeeds& seeds, const float* x, float y, std::size_t count, std::int32_t* nearest) {
    const WideTag d;
    const hn::RebindToSigned<WideTag> integers;
    for (std::size_t index = 0; index < count; index += hn::Lanes(d)) {
        const Wide place = hn::LoadU(d, x + index);
        Wide least = Constant(1e30f);
        auto number = hn::Zero(integers);
        for (std::size_t seed = 0; seed < kNearCells; ++seed) {
            const Wide dx = hn::Sub(place, Constant(seeds.x[seed])), dy = Constant(y - seeds.y[seed]);
            const Wide distance = hn::MulAdd(dx, dx, hn::Mul(dy, dy));
            const auto isNearer = hn::Lt(distance, least);
            least = hn::Min(distance, least);
            number = hn::IfThenElse(hn::RebindMask(integers, isNearer),
                                    hn::Set(integers, static_cast<std::int32_t>(seed)), number);
        }
        hn::StoreU(number, integers, nearest + index);
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(FindNearest);

void FindNearest(const NearSeeds& seeds, const float* x, float y, std::size_t count, std::int32_t* nearest) {
    HWY_DYNAMIC_DISPATCH(FindNearest)(seeds, x, y, count, nearest);
}

Seed SeedOf(std::int64_t column, std::int64_t row) {
    // Two odd factors tell columns from rows; two rounds of shifting and multiplying mix all bits with all others.
    std::uint64_t bits = static_cast<std::uint64_t>(column) * 0x9e3779b97f4a7c15u +
                         static_cast<std::uint64_t>(row) * 0xc2b2ae3d27d4eb4fu;
    for (int round = 0; round < 2; ++round) bits = (bits ^ (bits >> 29)) * 0xbf58476d1ce4e5b9u;
    bits ^= bits >> 32;
    const auto within = [](std::uint64_t value) { return 0.1f + 0.8f * static_cast<float>(value & 0xffff) / 0xffff; };
    return {within(bits), within(bits >> 16)};
}

}  // namespace core_image
#endif
