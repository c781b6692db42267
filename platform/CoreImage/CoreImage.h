// CoreImage.h - filters over images: what to compute is described first and computed when pixels are asked for.
//
// An image is an immutable recipe; a filter makes images out of images and values; a context renders. The keys,
// defaults and ranges of the 73 filters are in attributes.json, what renders them in core/filter_table.cpp.

#pragma once

#import <CoreImage/CIColor.h>
#import <CoreImage/CIConstants.h>
#import <CoreImage/CIContext.h>
#import <CoreImage/CIFilter.h>
#import <CoreImage/CIImage.h>
#import <CoreImage/CIVector.h>
