// halftone.h - an image printed with four inks.

#pragma once

#include "core/image.h"

namespace core_image {

// The parameters of a print; they are the keys of CICMYKHalftone.
struct InkPrint {
    double centerX = 0;
    double centerY = 0;
    double angle = 0;
    double width = 1;
    double sharpness = 0;
    double blackReplaced = 0;  // inputGCR
    double blackRemoved = 0;   // inputUCR
};

// An image printed in dots of cyan, magenta, yellow and black. Returns null for null.
ImageRef MakeInkImage(ImageRef input, const InkPrint& print);

}  // namespace core_image
