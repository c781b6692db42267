// CIColor.mm - four components in one object.

#import <CoreImage/CIColor.h>

#include <algorithm>

@implementation CIColor

+ (CIColor*)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue {
    return [CIColor colorWithRed:red green:green blue:blue alpha:1];
}

+ (CIColor*)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha {
    CIColor* color = [[[CIColor alloc] init] autorelease];
    const CGFloat components[] = {red, green, blue, alpha};
    std::copy_n(components, 4, color->_components);
    return color;
}

+ (CIColor*)colorWithString:(NSString*)representation {
    CGFloat components[] = {0, 0, 0, 1};
    NSScanner* scanner = [NSScanner scannerWithString:representation != nil ? representation : @""];
    for (CGFloat& component : components) {
        double value = 0;
        if (![scanner scanDouble:&value]) break;
        component = (CGFloat)value;
    }
    return [CIColor colorWithRed:components[0] green:components[1] blue:components[2] alpha:components[3]];
}

- (id)copyWithZone:(NSZone*)zone {
    (void)zone;
    return [self retain];
}

- (const CGFloat*)components {
    return _components;
}

- (size_t)numberOfComponents {
    return 4;
}

- (CGFloat)red {
    return _components[0];
}

- (CGFloat)green {
    return _components[1];
}

- (CGFloat)blue {
    return _components[2];
}

- (CGFloat)alpha {
    return _components[3];
}

- (CGColorSpaceRef)colorSpace {
    // The space is a shared object that lives forever, so releasing this reference does not free it.
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    CGColorSpaceRelease(space);
    return space;
}

// Equal colors have equal texts, so the hash is that of the text: the additions turn -0 into 0.
- (NSString*)stringRepresentation {
    return [NSString stringWithFormat:@"%g %g %g %g", (double)_components[0] + 0, (double)_components[1] + 0,
                                      (double)_components[2] + 0, (double)_components[3] + 0];
}

- (NSString*)description {
    return [NSString stringWithFormat:@"(%@)", [self stringRepresentation]];
}

- (BOOL)isEqual:(id)other {
    if (other == self) return YES;
    if (![other isKindOfClass:[CIColor class]]) return NO;
    return std::equal(_components, _components + 4, [(CIColor*)other components]);
}

- (NSUInteger)hash {
    return [[self stringRepresentation] hash];
}

@end
