// CoreImage.h - filters over images: a computation is described first and executed when pixels are requested.
//
// An image is an immutable recipe; a filter makes images from images and values; a context renders. The keys,
// defaults and ranges of the 73 filters are in attributes.json; the functions that render them are listed in the
// filters.h of each family.

#pragma once

#import <CoreImage/CIColor.h>
#import <CoreImage/CIConstants.h>
#import <CoreImage/CIContext.h>
#import <CoreImage/CIFilter.h>
#import <CoreImage/CIImage.h>
#import <CoreImage/CIVector.h>
