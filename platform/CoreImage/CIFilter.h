// CIFilter.h - makes an image from images and values.
//
// A filter is found by name and holds one value per input key, initially its default. Inputs are set and read by
// key-value coding. outputImage is built from them at each read, so that later changes of an input do not affect
// images returned before.
//
// Failure: a key that the filter lacks raises NSUndefinedKeyException on reading and writing; writing outputImage
//          raises the same. Setting never checks a value: a value of the wrong class raises
//          NSInvalidArgumentException when outputImage is read. Without a needed image outputImage is nil.
// Threads: a filter is used by one thread at a time; its images by any.

#pragma once

#import <CoreImage/CIConstants.h>
#import <CoreImage/CIImage.h>
#import <Foundation/Foundation.h>

@class CIFilterDescription;

@interface CIFilter : NSObject <NSCopying> {
  @private
    CIFilterDescription* _filterDescription;
    id* _values;
}

// A filter with its defaults set; autoreleased. Returns nil for an unknown name.
+ (CIFilter*)filterWithName:(NSString*)name;

// The same, with the given inputs set over the defaults. A key that the filter lacks raises.
+ (CIFilter*)filterWithName:(NSString*)name withInputParameters:(NSDictionary*)parameters;

// The names of the filters in a category, or in all of several categories; sorted. nil means every filter.
+ (NSArray*)filterNamesInCategory:(NSString*)category;
+ (NSArray*)filterNamesInCategories:(NSArray*)categories;

// The filter's name: "CIGaussianBlur".
- (NSString*)name;

// Its keys, sorted.
- (NSArray*)inputKeys;
- (NSArray*)outputKeys;

// Its name, categories and so on, and for each input key a dictionary with class, default and range. Always the same
// object.
- (NSDictionary*)attributes;

// Sets every input that has a default to it; others, such as images, are unchanged.
- (void)setDefaults;

// The image of the current inputs; autoreleased. nil when a needed image is missing.
- (CIImage*)outputImage;

@end
