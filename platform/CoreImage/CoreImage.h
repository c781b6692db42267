// CoreImage.h - filters over images: what to compute is described first and computed when pixels are asked for.
//
// An image is an immutable recipe; a filter makes images out of images and values; a context renders. All 73 filters of
// attributes.json are known with their keys, defaults and ranges. Those listed in core/filter_table.cpp render so far; all others
// answer nil for outputImage.

#pragma once

#import <CoreImage/CIColor.h>
#import <CoreImage/CIConstants.h>
#import <CoreImage/CIContext.h>
#import <CoreImage/CIFilter.h>
#import <CoreImage/CIImage.h>
#import <CoreImage/CIVector.h>
