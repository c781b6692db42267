// image_object.h - the objects of CIImageQOR as this module makes them. Thread: the host's.

#pragma once

#include "bridge/host_objects.h"
#include "companion/image_files.h"

// An image object. The filter module knows only the part that all modules share; what is behind it is zero in the
// objects that it makes.
struct OpenedImageObject {
    ImageObject shared;
    NSDictionary* properties;  // of ImageIO, for an image that was opened; retained
    FileIdentity file;         // what the image was opened from
};
