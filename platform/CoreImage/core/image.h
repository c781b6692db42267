// image.h - an image as a recipe, and the recipe prepared for rendering.
//
// An Image is immutable: it knows its extent and the images it is made of. Rendering has two steps. MakeStage() is
// called once for a region, may do work for all of it (a reduction, a reduced copy for a wide blur) and makes a
// Stage; the stage then renders tiles of the region, many at a time. In MakeStage() an image prepares its inputs for
// the regions that it needs of them. Stages that work pixel by pixel render runs of pixels (run.h) instead, so that
// a chain of them works in a core's own cache.
//
// Lifetime: images are shared and keep their inputs; a Prepared belongs to one rendering.
// Threads:  images on any thread; MakeStage() on one; Stage::Render on many at once.
// Adding a kind: derive from Image and from Stage in the family's folder. A filter that works pixel by pixel derives
//                from PointFunction instead (point.h).
// Failure:  std::bad_alloc when memory is short.

#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "core/extent.h"
#include "core/run.h"
#include "core/tile.h"

namespace core_image {

class Image;
using ImageRef = std::shared_ptr<const Image>;

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
};

// Renders a tile of a pointwise stage run by run.
void RenderByRuns(const Stage& stage, const Tile& tile);

// A stage together with its extent. Outside the extent the stage is never asked.
class Prepared {
  public:
    Prepared() = default;
    Prepared(const Extent& extent, std::unique_ptr<const Stage> stage) : extent_(extent), stage_(std::move(stage)) {}

    // Writes every pixel of a tile, transparent outside the image.
    void Render(const Tile& tile) const;

    // The pixels of a region when all of them are in memory already; otherwise nothing. See window.h.
    std::optional<View> Held(const Region& region) const;

    // Writes a run in blocks, transparent outside the image. Only for pointwise stages.
    void RenderRun(const Run& run, float* blocks, float* spare) const;
    std::size_t SpareRuns() const { return stage_ == nullptr ? 0 : stage_->SpareRuns(); }

    const Extent& GetExtent() const { return extent_; }
    bool IsPointwise() const { return stage_ == nullptr || stage_->IsPointwise(); }

  private:
    Extent extent_;
    std::unique_ptr<const Stage> stage_;
};

// The size of a recipe.
struct Depth {
    int levels = 0;     // the longest chain of images
    double images = 0;  // the number of images to render; an image used in two places counts twice

    // The depth below an image with two inputs.
    Depth With(const Depth& other) const { return {std::max(levels, other.levels), images + other.images}; }
};

// A recipe.
class Image {
  public:
    virtual ~Image() = default;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    const Extent& GetExtent() const { return extent_; }

    // The size of the recipe, this image included.
    const Depth& GetDepth() const { return depth_; }

    // Makes a stage for a region that is not empty and lies in the extent.
    virtual std::unique_ptr<const Stage> MakeStage(const Region& region) const = 0;

    // For a picture that is stored encoded, or a moved or cropped one: the same image with its numbers as stored.
    // Null otherwise.
    //
    // Why: interpolation between the pixels of a picture averages the stored numbers, not the light that they
    // encode.
    virtual std::shared_ptr<const Image> Encoded() const { return nullptr; }

  protected:
    // depthBelow is the combined depth of the inputs.
    Image(const Extent& extent, const Depth& depthBelow)
        : extent_(extent), depth_{depthBelow.levels + 1, depthBelow.images + 1} {}

  private:
    Extent extent_;
    Depth depth_;
};

// Why a limit: recipes are walked recursively, on threads with stacks of a megabyte. Deeper images are refused when
// made.
inline constexpr int kDeepestImage = 1000;

// Why a second limit: combining an image with itself, and the result again, doubles the work each time. Larger
// recipes are refused.
inline constexpr double kMostImages = 16384;

// Prepares an image for a region, or rather for the part of the region that lies in the image.
[[nodiscard]] Prepared Prepare(const ImageRef& image, const Region& region);

}  // namespace core_image
