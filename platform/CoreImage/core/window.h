// window.h - the pixels of a region of an image, for code that reads neighbors: in place if possible, otherwise
// rendered.
//
// A bitmap of linear floats, and an image that is buffered during a rendering, are read in place. The pixels of any
// other image, and of a region that extends beyond its image, are rendered into memory owned by the window.
//
// Lifetime: a window borrows from what it is made of.
// Threads:  one; many windows may show the same region at once.

#pragma once

#include <optional>

#include "core/image.h"

namespace core_image {

// The pixels of a region, transparent outside the image.
class Window {
  public:
    // Input is a Prepared, or has the same Held and Render.
    template <class Input>
    Window(const Input& input, const Region& region) {
        if (const std::optional<View> held = input.Held(region)) {
            view_ = *held;
            return;
        }
        rendered_.emplace(region);
        input.Render(rendered_->GetTile());
        view_ = rendered_->GetView();
    }
    // Why neither copied nor assigned: the view points into the window's own memory.
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    const View& GetView() const { return view_; }

  private:
    std::optional<PixelBlock> rendered_;
    View view_;
};

}  // namespace core_image
