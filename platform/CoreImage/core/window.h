// window.h - the pixels of a region of an image, to be read by what needs neighbors: where they stand, or rendered.
//
// A bitmap of linear floats, and what is held in memory while an image is rendered, are read in place. Of every other image,
// and where a region reaches beyond an image, the pixels are rendered into memory of the window's own.
//
// Lifetime: a window borrows from what it is made of.
// Threads:  one; a region may be seen through many windows at once.

#pragma once

#include <optional>

#include "core/image.h"

namespace core_image {

// The pixels of a region, transparent where the image is not.
class Window {
  public:
    // Of a prepared image, or of what is as one.
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
    // Why neither: the view is of its own memory.
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    const View& GetView() const { return view_; }

  private:
    std::optional<PixelBlock> rendered_;
    View view_;
};

}  // namespace core_image
