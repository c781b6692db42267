// image.h - an image as a recipe, and the recipe made ready to render.
//
// An Image is immutable: it knows its extent and the images it is made of. Rendering has two steps. MakeStage() is called once
// for a region, may do work for all of it (a reduction, a reduced copy for a wide blur) and makes a Stage; the stage then
// renders tiles of the region, many at a time. An image asks its inputs for the region that it needs of them, in MakeStage().
// Stages that work pixel by pixel render runs of pixels (run.h) instead, so that a chain of them works in a core's own cache.
//
// Lifetime: images are shared and keep their inputs; a Prepared belongs to one rendering.
// Threads:  images on any thread; MakeStage() on one; Stage::Render on many at once.
// Adding a kind: derive from Image and from Stage in the family's folder. A filter that works pixel by pixel derives from
//           PointFunction instead (point.h).
// Failure:  std::bad_alloc when memory is short.

#pragma once

#include <memory>
#include <optional>

#include "core/extent.h"
#include "core/run.h"
#include "core/tile.h"

namespace core_image {

class Image;
using ImageRef = std::shared_ptr<const Image>;

// A recipe made ready for a region.
class Stage {
  public:
    virtual ~Stage() = default;

    // Writes every pixel of a tile that lies in the image's extent and in the region prepared for.
    virtual void Render(const Tile& tile) const = 0;

    // Whether it may be rendered run by run at no extra cost, because no pixel needs its neighbors.
    virtual bool IsPointwise() const { return false; }

    // The pixels of a region, where all of them stand in memory anyway; none otherwise. The region is one to render.
    virtual std::optional<View> Held(const Region&) const { return std::nullopt; }

    // Writes a run in blocks. Spare is room for SpareRuns() more, for those of several images. Called of pointwise stages only,
    // where it saves memory from being written and read again; this one renders a tile.
    virtual void RenderRun(const Run& run, float* blocks, float* spare) const;
    virtual std::size_t SpareRuns() const { return 0; }
};

// Renders a tile of a pointwise stage run by run.
void RenderByRuns(const Stage& stage, const Tile& tile);

// A stage together with the extent outside which it is not asked.
class Prepared {
  public:
    Prepared() = default;
    Prepared(const Extent& extent, std::unique_ptr<const Stage> stage) : extent_(extent), stage_(std::move(stage)) {}

    // Writes every pixel of a tile, transparent where the image is not.
    void Render(const Tile& tile) const;

    // The pixels of a region, where all of them stand in memory anyway; none otherwise. See window.h.
    std::optional<View> Held(const Region& region) const;

    // Writes a run in blocks, transparent where the image is not; of a pointwise one.
    void RenderRun(const Run& run, float* blocks, float* spare) const;
    std::size_t SpareRuns() const { return stage_ == nullptr ? 0 : stage_->SpareRuns(); }

    const Extent& GetExtent() const { return extent_; }
    bool IsPointwise() const { return stage_ == nullptr || stage_->IsPointwise(); }

  private:
    Extent extent_;
    std::unique_ptr<const Stage> stage_;
};

// How large a recipe is.
struct Depth {
    int levels = 0;     // how many images lie one below the other
    double images = 0;  // how many there are to render: one that is used in two places counts twice

    // Of what lies below an image with two inputs.
    Depth With(const Depth& other) const { return {std::max(levels, other.levels), images + other.images}; }
};

// A recipe.
class Image {
  public:
    virtual ~Image() = default;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    const Extent& GetExtent() const { return extent_; }

    // How large the recipe is, this image included.
    const Depth& GetDepth() const { return depth_; }

    // Makes a stage for a region, which is not empty and lies in the extent.
    virtual std::unique_ptr<const Stage> MakeStage(const Region& region) const = 0;

    // The same image with its numbers as they are stored, encoded, where it is a picture that is stored so, or a picture moved
    // and cut; null otherwise.
    //
    // Why: between the pixels of a picture lies the mean of what is stored, not of the light it stands for.
    virtual std::shared_ptr<const Image> Encoded() const { return nullptr; }

  protected:
    // depthBelow is that of the inputs together.
    Image(const Extent& extent, const Depth& depthBelow)
        : extent_(extent), depth_{depthBelow.levels + 1, depthBelow.images + 1} {}

  private:
    Extent extent_;
    Depth depth_;
};

// Why a limit: recipes are walked by recursion, on threads with stacks of a megabyte. A deeper image is refused when made.
inline constexpr int kDeepestImage = 1000;

// Why another: an image combined with itself, and the result again, doubles the work each time. A larger recipe is refused.
inline constexpr double kMostImages = 16384;

// Makes an image ready for a region, or rather for the part of it that lies in the image.
Prepared Prepare(const ImageRef& image, const Region& region);

}  // namespace core_image
