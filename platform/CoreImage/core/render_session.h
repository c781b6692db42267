// render_session.h - what is computed once for all parts of a rendering: the results of reductions, and pixels that
// several parts need.
//
// A large image is rendered part by part: by blocks, and by strips of rows as a file is written. A reduction reads the
// whole of its input, so its result is kept from the first part that needs it.
//
// Lifetime: a session outlives its renderings; the images in it must exist until then. It is for one recipe and one
//           working space.
// Threads:  one at a time, the one that prepares.

#pragma once

#include <map>
#include <memory>
#include <tuple>

#include "core/tile.h"

namespace core_image {

class Image;

class RenderSession {
  public:
    // What was kept for a region of an image; null at first. The caller stores it there.
    std::shared_ptr<const PixelBlock>& Kept(const Image* image, const Region& region) {
        return kept_[KeyOf(image, region)];
    }

    // The same, but forgotten where memory is short.
    std::shared_ptr<const PixelBlock>& KeptForNow(const Image* image, const Region& region) {
        return keptForNow_[KeyOf(image, region)];
    }
    void FreeMemory() { keptForNow_.clear(); }

    // The current session of this thread; null outside of scopes.
    static RenderSession* Current();

    // Makes a session the current one of this thread.
    class Scope {
      public:
        explicit Scope(RenderSession& session);
        ~Scope();
        Scope(const Scope&) = delete;

      private:
        RenderSession* before_;
    };

  private:
    using Key = std::tuple<const Image*, std::int64_t, std::int64_t, std::int64_t, std::int64_t>;

    static Key KeyOf(const Image* image, const Region& region) {
        return {image, region.x, region.y, region.width, region.height};
    }

    std::map<Key, std::shared_ptr<const PixelBlock>> kept_, keptForNow_;
};

}  // namespace core_image
