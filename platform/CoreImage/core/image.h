// image.h - an image as a recipe, and the recipe prepared for rendering.
//
// An Image is immutable: it knows its extent and the images it is made of. Rendering has two steps. MakeStage() is
// called once for a region, may do work for all of it (a reduction, a reduced copy for a wide blur) and makes a
// Stage; the stage then renders tiles of the region, many at a time. In MakeStage() an image gets its inputs with
// Prepare(). They are ready by then, because AddNeeds() has said which regions of them it needs (plan.cpp). Stages
// that work pixel by pixel render runs of pixels (run.h) instead, so that a chain of them works in a core's own cache.
//
// Lifetime: images are shared and keep their inputs; a Prepared belongs to one rendering.
// Threads:  images on any thread; MakeStage() on one; Stage::Render on many at once.
// Depth:    recipes may be deep. Nothing walks or destroys them by recursion, and stages render each other by recursion
//           to a limited depth only (kMostLevels).
// Adding a kind: derive from Image and from Stage in the family's folder. A filter that works pixel by pixel derives
//                from PointFunction instead (point.h).
// Failure:  MemoryShortage, a std::bad_alloc (memory_budget.h).

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "core/extent.h"
#include "core/run.h"
#include "core/tile.h"

namespace core_image {

class Image;

// A shared reference to an image.
//
// Why not just a shared pointer: the last reference to a chain of ten thousand images would destroy them by recursion.
// Here the outermost destructor destroys one image after the other.
class ImageRef {
  public:
    ImageRef() = default;
    ImageRef(std::nullptr_t) {}
    template <class Kind>
    ImageRef(std::shared_ptr<Kind> image) : image_(std::move(image)) {}
    ImageRef(const ImageRef&) = default;
    ImageRef(ImageRef&&) noexcept = default;
    ImageRef& operator=(ImageRef other) noexcept {
        image_.swap(other.image_);
        return *this;
    }
    ~ImageRef();

    const Image* Get() const { return image_.get(); }
    const Image& operator*() const { return *image_; }
    const Image* operator->() const { return image_.get(); }
    bool operator==(const ImageRef&) const = default;
    bool operator==(std::nullptr_t) const { return image_ == nullptr; }

  private:
    std::shared_ptr<const Image> image_;
};

// A recipe prepared for a region.
class Stage {
  public:
    virtual ~Stage() = default;

    // Writes every pixel of a tile that lies in the image's extent and in the prepared region.
    virtual void Render(const Tile& tile) const = 0;

    // Whether the stage can be rendered run by run at no extra cost, because no pixel depends on its neighbors.
    virtual bool IsPointwise() const { return false; }

    // The pixels of a region when all of them are in memory already; otherwise nothing. The region lies in the
    // prepared one.
    virtual std::optional<View> Held(const Region&) const { return std::nullopt; }

    // Writes a run in blocks. spare has room for SpareRuns() more runs, for stages that combine several images.
    // Called only for pointwise stages. A stage overrides it when that saves writing pixels to memory and reading
    // them again; this default renders a tile.
    virtual void RenderRun(const Run& run, float* blocks, float* spare) const;
    virtual std::size_t SpareRuns() const { return 0; }

    // How many stages lie one below the other, this one included, given the most below one of its inputs.
    virtual int Levels(int below) const { return below + 1; }
};

// An image with this many levels is held in memory while a region is rendered, so that images above it do not render it
// by calls within calls: the tiles of all levels would exist at the same time, and their calls on the stack of a
// thread. Images too large to be held may have more levels (plan.cpp).
inline constexpr int kMostLevels = 32;

// Renders a tile of a pointwise stage run by run.
void RenderByRuns(const Stage& stage, const Tile& tile);

// A stage together with its extent. Outside the extent the stage is never asked.
class Prepared {
  public:
    Prepared() = default;
    Prepared(const Extent& extent, std::shared_ptr<const Stage> stage, int levels)
        : extent_(extent), pixels_(Clip(kCountable, extent)), stage_(std::move(stage)), levels_(levels) {}

    // Writes every pixel of a tile, transparent outside the image.
    void Render(const Tile& tile) const;

    // The pixels of a region when all of them are in memory already; otherwise nothing. See window.h.
    std::optional<View> Held(const Region& region) const;

    // Whether the pixels of a region are in memory already, apart from those beyond the image's edges.
    bool IsInMemory(const Region& region) const;

    // Writes a run in blocks, transparent outside the image. Only for pointwise stages.
    void RenderRun(const Run& run, float* blocks, float* spare) const;
    std::size_t SpareRuns() const { return stage_ == nullptr ? 0 : stage_->SpareRuns(); }

    const Extent& GetExtent() const { return extent_; }
    bool IsPointwise() const { return stage_ == nullptr || stage_->IsPointwise(); }

    // How many stages lie one below the other.
    int Levels() const { return levels_; }

    // The same pixels in the part inside an extent.
    Prepared Inside(const Extent& extent) const { return {extent_.Intersection(extent), stage_, levels_}; }

    // The stage if nothing else refers to it; otherwise null.
    const Stage* OwnStage() const { return stage_.use_count() == 1 ? stage_.get() : nullptr; }

  private:
    void RenderRunAtEdge(const Run& run, float* blocks) const;

    Extent extent_;
    Region pixels_;  // of the extent: at 32 bits, comparing whole numbers with doubles takes as long as a short run
    std::shared_ptr<const Stage> stage_;
    int levels_ = 0;
};

// The depth of a recipe.
struct Depth {
    int levels = 0;  // the number of images in the longest chain, from the topmost one to a source

    // The depth below an image with two inputs.
    Depth With(const Depth& other) const { return {std::max(levels, other.levels)}; }
};

// What an image needs of its inputs to be rendered.
class Needs {
  public:
    enum class Reading { kByTiles, kPixels, kAtOnce };

    // Regions of images. The images are borrowed.
    struct Need {
        const Image* image;
        Region region;
        Reading reading;
    };

    // A region from which each tile reads what it needs. Where tiles need more than their own size, pixels of the input
    // are rendered several times, unless the input is held in memory.
    void AddByTiles(const ImageRef& image, const Region& region) { Add({image.Get(), region, Reading::kByTiles}); }

    // A region from which each tile reads at most as many pixels as it has, wherever they are.
    void AddPixels(const ImageRef& image, const Region& region) { Add({image.Get(), region, Reading::kPixels}); }

    // A region that is read once, while the stage is made.
    void AddAtOnce(const ImageRef& image, const Region& region) { Add({image.Get(), region, Reading::kAtOnce}); }

    // In the order in which they were added.
    std::span<const Need> All() const { return {all_.data(), count_}; }

  private:
    // More than an image of any kind has inputs.
    static constexpr std::size_t kMost = 4;

    void Add(const Need& need) { all_.at(count_++) = need; }

    std::array<Need, kMost> all_ = {};
    std::size_t count_ = 0;
};

// An image decoded at a smaller scale. Each of its pixels is the mean of a square of pixels.
struct ReducedImage {
    ImageRef image;  // null for the image itself
    int factor = 1;  // the side of the squares
    double y = 0;    // where the lower edge of the squares lies in the image; the left one is at 0
};

// A recipe.
class Image {
  public:
    virtual ~Image() = default;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    const Extent& GetExtent() const { return extent_; }

    // The depth of the recipe, this image included.
    const Depth& GetDepth() const { return depth_; }

    // Adds the regions of the inputs that MakeStage() prepares for a region. Given a tile, the regions that this tile
    // reads.
    //
    // Larger regions cost time. An input that is not named, or named with a smaller region, is prepared apart from the
    // rest of the recipe: by recursion, and again for each image that uses it.
    virtual void AddNeeds(const Region&, Needs&) const {}

    // Makes a stage for a region that is not empty and lies in the extent. Null for an image that only shows another.
    virtual std::unique_ptr<const Stage> MakeStage(const Region& region) const = 0;

    // The image whose pixels this one shows inside its own extent; null for an image with pixels of its own.
    virtual const Image* Shown() const { return nullptr; }

    // Whether a large region is better rendered in low blocks, because a stage holds all pixels of its region in memory
    // and low regions cost hardly more time. Asked of the image that is rendered, not of its inputs.
    virtual bool PrefersLowBlocks() const { return false; }

    // Whether there is nothing to plan: for a source, and for a few functions of the pixels of a source.
    virtual bool IsPlain() const { return depth_.levels == 1; }

    // The same image decoded at a smaller scale, for one that shrinks it so many times; the image itself when it cannot
    // be decoded so, or when less than twice the pixels that are shown would remain, or when it would look different.
    //
    // Why the image that shrinks asks: it alone knows which pixels it needs. Every other one reads all of them.
    virtual ReducedImage Reduced(double shrinks) const;

    // For a picture that is stored encoded, or a moved or cropped one: the same image with its numbers as stored.
    // Null otherwise.
    //
    // Why: interpolation between the pixels of a picture averages the stored numbers, not the light that they
    // encode.
    const ImageRef& Encoded() const { return encoded_; }

  protected:
    // depthBelow is the combined depth of the inputs.
    Image(const Extent& extent, const Depth& depthBelow) : extent_(extent), depth_{depthBelow.levels + 1} {}

    // To be called by constructors.
    void SetEncoded(ImageRef encoded) { encoded_ = std::move(encoded); }

  private:
    friend class ImageRef;

    Extent extent_;
    Depth depth_;
    ImageRef encoded_;
    mutable std::shared_ptr<const Image> nextToDestroy_;  // after the last reference is gone
};

// Prepares an image for a region, or rather for the part of the region that lies in the image.
[[nodiscard]] Prepared Prepare(const ImageRef& image, const Region& region);

// Follows the largest input of each image down a recipe. Returns how many pixels of an input its tiles read for a
// region, where that is the most.
[[nodiscard]] double MostPixelsRead(const ImageRef& image, const Region& region);

// Prepares an input, for the only time in a MakeStage(). If no other image uses the input, nothing else refers to its
// stage then.
[[nodiscard]] Prepared PrepareLast(const ImageRef& image, const Region& region);

}  // namespace core_image
