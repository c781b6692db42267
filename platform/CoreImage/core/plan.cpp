// plan.cpp - prepares a recipe for a region: each image once, inputs first.
//
// 1. From the top down, the images are asked for their needs. Images with more levels come first, so that by the time
//    an image is asked, all of its users have said which regions of it they need. Regions that are close together are
//    joined; distant regions of one image become parts that are prepared apart.
// 2. From the bottom up, stages are made. An image whose pixels would be rendered again and again, by several users or
//    for the overlapping needs of tiles, is rendered once and held in memory if that costs less. So is an image with
//    kMostLevels stages one below the other, unless it is large. A stage is destroyed when the last of its users is.
//
// Costs are estimates, roughly in nanoseconds. They decide how long a rendering takes and how much memory it needs, not
// what it renders.
//
// Sources are left out: preparing them is nothing, and rendering them is hardly more than reading memory. A recipe of
// sources and one image, or of a few functions of one source, is prepared without a plan.
//
// Why the plan of a thread is a global: MakeStage() finds prepared inputs with Prepare(), which has no argument for it.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <queue>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/buffered.h"
#include "core/image.h"

namespace core_image {
namespace {

// Costs of a pixel.
constexpr double kCostOfHolding = 5;    // written to memory and read again
constexpr double kCostOfHeld = 1;       // read from memory
constexpr double kCostOfSource = 2;     // decoded, or computed from coordinates
constexpr double kCostOfPoint = 2;      // for each input of a function of the pixels at one place
constexpr double kCostOfAtOnce = 8;     // interpolated in what was made of the input at once
constexpr double kCostOfNeighbors = 6;  // sums and places of neighbors, and for each of them:
constexpr double kCostOfNeighbor = 0.15;
constexpr double kMostNeighbors = 200;
constexpr double kCostOfUnknown = 50;  // an image that does not declare its needs

// Distant regions are not joined when that would add more than a quarter.
constexpr double kMostJoined = 1.25;

// From this many levels on, an image with more than kMostHeld pixels is held too: more calls within calls might exhaust
// the stack.
constexpr int kMostLevelsOfLarge = 1000;

// A region of an image with pixels of its own.
struct Wanted {
    const Image* image;
    Region region;
};

// The smallest region that contains both.
Region Joined(const Region& a, const Region& b) {
    const std::int64_t x = std::min(a.x, b.x), y = std::min(a.y, b.y);
    return {x, y, std::max(a.Right(), b.Right()) - x, std::max(a.Top(), b.Top()) - y};
}

// A tile in the middle of a region, of the size that is usually rendered.
Region TileOf(const Region& region) {
    const std::int64_t width = std::min<std::int64_t>(region.width, kTileWidth);
    const std::int64_t height = std::min<std::int64_t>(region.height, kTileHeight);
    return {region.x + (region.width - width) / 2, region.y + (region.height - height) / 2, width, height};
}

// What shows the pixels of an image in a region.
Wanted Resolved(const Image* image, const Region& region) {
    Wanted wanted = {image, Clip(region, image->GetExtent())};
    while (const Image* shown = wanted.image->Shown()) {
        wanted = {shown, Clip(wanted.region, shown->GetExtent())};
    }
    return wanted;
}

bool IsSource(const Wanted& wanted) { return wanted.image->GetDepth().levels == 1; }

// A part of an image.
struct Part {
    struct Input {
        Part* part;
        double pixels;  // that are rendered for this part, if it is rendered once
        bool isAtOnce;
    };

    const Image* image;
    Region region;
    std::vector<Input> inputs;
    double pixels = 0;      // that the users of this part render
    double ownCost = 0;     // of a pixel, inputs not included
    double cost = 0;        // of a pixel
    std::size_t users = 0;  // whose stages are still to be made
    bool isEntered = false;
    bool isReady = false;
    Prepared prepared;  // while it is ready

    void Release() {
        isReady = false;
        prepared = {};
    }
};

class Plan {
  public:
    explicit Plan(const Wanted& wanted);
    Plan(const Plan&) = delete;

    // Makes all stages, and returns that of the whole.
    Prepared Make();

    // The plan that this thread is making stages for.
    static Plan* Current() { return current_; }

    // An input that is prepared; isLast hands over what nobody else uses.
    std::optional<Prepared> Find(const Wanted& wanted, bool isLast);

    // To be called with every input of the stage that is being made.
    void NoteLevels(const Prepared& input) { levelsBelow_ = std::max(levelsBelow_, input.Levels()); }

  private:
    // What a part, or the caller of the whole plan, wants of an image.
    struct Asked {
        Part* user;
        Region region;
        double pixels;
        bool isAtOnce;
    };
    using Parts = std::vector<std::unique_ptr<Part>>;

    // Restores the plan of the thread, also when the constructor throws.
    struct Scope {
        Plan* outer;
        explicit Scope(Plan* plan) : outer(std::exchange(current_, plan)) {}
        ~Scope() { current_ = outer; }
        Scope(const Scope&) = delete;
    };

    void AskFor(Part* user, const Wanted& wanted, double pixels, bool isAtOnce);
    void AskForNeeds(Part& part);
    void MakeParts(const Image* image, const std::vector<Asked>& asked);
    void MakeStageOf(Part& part);
    bool IsWorthHolding(const Part& part) const;

    static thread_local Plan* current_;

    Scope scope_;
    std::unordered_map<const Image*, std::vector<Asked>> asked_;
    std::priority_queue<std::pair<int, const Image*>> next_;  // to be asked for needs, the deepest first
    std::unordered_map<const Image*, Parts> parts_;
    Part* whole_ = nullptr;
    int levelsBelow_ = 0;
};

thread_local Plan* Plan::current_ = nullptr;

Plan::Plan(const Wanted& wanted) : scope_(this) {
    AskFor(nullptr, wanted, PixelCount(wanted.region), /*isAtOnce=*/true);
    while (!next_.empty()) {
        const Image* image = next_.top().second;
        next_.pop();
        MakeParts(image, asked_.extract(image).mapped());
        for (const std::unique_ptr<Part>& part : parts_[image]) AskForNeeds(*part);
    }
}

void Plan::AskFor(Part* user, const Wanted& wanted, double pixels, bool isAtOnce) {
    const auto [place, isFirst] = asked_.try_emplace(wanted.image);
    if (isFirst) next_.emplace(wanted.image->GetDepth().levels, wanted.image);
    place->second.push_back({user, wanted.region, pixels, isAtOnce});
}

void Plan::MakeParts(const Image* image, const std::vector<Asked>& asked) {
    Parts& parts = parts_[image];
    for (const Asked& each : asked) {
        auto found = std::find_if(parts.begin(), parts.end(), [&](const std::unique_ptr<Part>& part) {
            return PixelCount(Joined(part->region, each.region)) <=
                   kMostJoined * (PixelCount(part->region) + PixelCount(each.region));
        });
        if (found == parts.end()) {
            found = parts.insert(parts.end(), std::make_unique<Part>());
            (*found)->image = image;
            (*found)->region = each.region;
        }
        Part* const part = found->get();
        part->region = Joined(part->region, each.region);
        part->pixels += each.pixels;
        if (each.user == nullptr) {
            whole_ = part;
            continue;
        }
        std::vector<Part::Input>& inputs = each.user->inputs;
        const auto known = std::ranges::find(inputs, part, &Part::Input::part);
        if (known == inputs.end()) {
            ++part->users;
            inputs.push_back({part, each.pixels, each.isAtOnce});
        } else {
            known->pixels += each.pixels;
            known->isAtOnce = known->isAtOnce && each.isAtOnce;
        }
    }
}

void Plan::AskForNeeds(Part& part) {
    const Region tile = TileOf(part.region);
    Needs needs, needsOfTile;
    part.image->AddNeeds(part.region, needs);
    part.image->AddNeeds(tile, needsOfTile);
    part.ownCost = needs.All().empty() ? kCostOfUnknown : 0;
    for (std::size_t index = 0; index < needs.All().size(); ++index) {
        const Needs::Need& need = needs.All()[index];
        const Wanted wanted = Resolved(need.image, need.region);
        const bool isAtOnce = need.reading == Needs::Reading::kAtOnce;
        double pixels = PixelCount(wanted.region);
        if (isAtOnce) {
            part.ownCost += kCostOfAtOnce;
        } else if (need.reading == Needs::Reading::kPixels) {
            part.ownCost += kCostOfPoint;
            pixels = PixelCount(part.region);
        } else {
            const Region& read = needsOfTile.All()[index].region;
            const auto around = static_cast<double>(std::abs(read.width - tile.width + read.height - tile.height));
            part.ownCost +=
                around == 0 ? kCostOfPoint : kCostOfNeighbors + kCostOfNeighbor * std::min(around, kMostNeighbors);
            // How many more pixels all tiles read than the region as a whole.
            const double tiles = PixelCount(part.region) / PixelCount(tile);
            pixels *= std::max(1.0, tiles * PixelCount(read) / PixelCount(need.region));
        }
        if (wanted.region.IsEmpty()) continue;
        if (IsSource(wanted)) {
            if (!isAtOnce) part.ownCost += kCostOfSource * pixels / PixelCount(part.region);
            continue;
        }
        // What is prepared for an image above this one is used as it is.
        const bool isPrepared = scope_.outer != nullptr && scope_.outer->Find(wanted, /*isLast=*/false);
        if (!isPrepared) AskFor(&part, wanted, pixels, isAtOnce);
    }
}

Prepared Plan::Make() {
    // The path to the part whose stage comes next, with the number of inputs that are done.
    std::vector<std::pair<Part*, std::size_t>> path = {{whole_, 0}};
    while (!path.empty()) {
        auto& [part, done] = path.back();
        if (done == part->inputs.size()) {
            MakeStageOf(*part);
            path.pop_back();
            continue;
        }
        Part* const input = part->inputs[done++].part;
        if (!std::exchange(input->isEntered, true)) path.emplace_back(input, 0);
    }
    return std::move(whole_->prepared);
}

void Plan::MakeStageOf(Part& part) {
    levelsBelow_ = 0;
    std::shared_ptr<const Stage> stage = part.image->MakeStage(part.region);
    const int levels = stage->Levels(levelsBelow_);
    part.prepared = Prepared(Extent::Of(part.region), std::move(stage), levels);
    part.isReady = true;
    part.cost = part.ownCost;
    for (const Part::Input& input : part.inputs) {
        if (!input.isAtOnce) part.cost += input.part->cost * input.pixels / PixelCount(part.region);
        if (--input.part->users == 0) input.part->Release();
    }
    // Near the edges of a clamped picture, pixels are copied; elsewhere they are read in place.
    if (part.prepared.Held(TileOf(part.region))) part.cost = kCostOfHeld;
    if (&part == whole_ || !IsWorthHolding(part)) return;
    part.prepared = Hold(part.prepared, part.region);
    part.cost = kCostOfHeld;
}

bool Plan::IsWorthHolding(const Part& part) const {
    const double pixels = PixelCount(part.region);
    if (pixels > kMostHeld) return part.prepared.Levels() >= kMostLevelsOfLarge;
    if (part.prepared.Levels() >= kMostLevels) return true;
    return part.cost > kCostOfHeld && (part.pixels / pixels - 1) * part.cost > kCostOfHolding;
}

std::optional<Prepared> Plan::Find(const Wanted& wanted, bool isLast) {
    const auto found = parts_.find(wanted.image);
    if (found != parts_.end()) {
        for (const std::unique_ptr<Part>& part : found->second) {
            if (!part->isReady || part->region.Intersection(wanted.region) != wanted.region) continue;
            Prepared prepared = part->prepared;
            if (isLast && part->users == 1) part->Release();
            return prepared.Inside(Extent::Of(wanted.region));
        }
    }
    return scope_.outer == nullptr ? std::nullopt : scope_.outer->Find(wanted, /*isLast=*/false);
}

// Whether an image has inputs that somebody else might use, too.
bool NeedsPlan(const Wanted& wanted) { return wanted.image->GetDepth().levels > 2 && !wanted.image->IsPlain(); }

Prepared WithoutPlan(const Wanted& wanted) {
    std::shared_ptr<const Stage> stage = wanted.image->MakeStage(wanted.region);
    const int levels = stage->Levels(/*below=*/IsSource(wanted) ? 0 : 1);
    return {Extent::Of(wanted.region), std::move(stage), levels};
}

Prepared PrepareInput(const ImageRef& image, const Region& region, bool isLast) {
    const Wanted wanted = Resolved(image.Get(), region);
    if (wanted.region.IsEmpty()) return {};
    Plan* const plan = Plan::Current();
    std::optional<Prepared> prepared;
    if (plan != nullptr && !IsSource(wanted)) prepared = plan->Find(wanted, isLast);
    if (!prepared) prepared = NeedsPlan(wanted) ? Plan(wanted).Make() : WithoutPlan(wanted);
    if (plan != nullptr) plan->NoteLevels(*prepared);
    return std::move(*prepared);
}

}  // namespace

double MostPixelsRead(const ImageRef& image, const Region& region) {
    double most = 0;
    for (Wanted wanted = Resolved(image.Get(), region); !wanted.region.IsEmpty();) {
        Needs needs;
        wanted.image->AddNeeds(wanted.region, needs);
        wanted.region = {};
        for (const Needs::Need& need : needs.All()) {
            const Wanted input = Resolved(need.image, need.region);
            if (need.reading == Needs::Reading::kAtOnce || input.region.IsEmpty()) continue;
            if (PixelCount(input.region) > PixelCount(wanted.region)) wanted = input;
        }
        most = std::max(most, PixelCount(wanted.region));
    }
    return most;
}

Prepared Prepare(const ImageRef& image, const Region& region) { return PrepareInput(image, region, /*isLast=*/false); }

Prepared PrepareLast(const ImageRef& image, const Region& region) {
    return PrepareInput(image, region, /*isLast=*/true);
}

}  // namespace core_image
