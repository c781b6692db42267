// CIFilter.h - makes an image out of images and values.
//
// A filter is found by name and holds one value per input key, its defaults at first. Inputs are set and read by key-value
// coding; outputImage is built from them at each read, so that changing an input later does not change an image fetched before.
//
// Failure: a key that the filter lacks raises NSUndefinedKeyException, for reading and for writing; outputImage cannot be
//          written and raises the same. Setting never checks a value: one of the wrong class raises NSInvalidArgumentException
//          when outputImage is read. A needed image that is missing makes outputImage nil.
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

// A filter with its defaults set; autoreleased. nil for a name that is not known.
+ (CIFilter*)filterWithName:(NSString*)name;

// The same, with the given inputs set over the defaults. A key that the filter lacks raises.
+ (CIFilter*)filterWithName:(NSString*)name withInputParameters:(NSDictionary*)parameters;

// The names of the filters that are in a category, in all of the categories; sorted. nil stands for every filter.
+ (NSArray*)filterNamesInCategory:(NSString*)category;
+ (NSArray*)filterNamesInCategories:(NSArray*)categories;

// The filter's name: "CIGaussianBlur".
- (NSString*)name;

// Its keys, sorted.
- (NSArray*)inputKeys;
- (NSArray*)outputKeys;

// Its name, categories and so on, and for each input key a dictionary with class, default and range. The same object each time.
- (NSDictionary*)attributes;

// Sets every input that has a default to it; the others, such as images, stay.
- (void)setDefaults;

// The image of the current inputs; autoreleased. nil when a needed image is missing.
- (CIImage*)outputImage;

@end
