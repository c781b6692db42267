// CoreImage.h - the Core Image declarations that the module's sources use.

#pragma once

#import <Foundation/Foundation.h>

@interface CIFilter : NSObject
+ (CIFilter*)filterWithName:(NSString*)name;
- (void)setDefaults;
- (NSDictionary*)attributes;
@end
