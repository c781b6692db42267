// CIVector.mm - the list of numbers, stored in one block owned by the object.

#import <CoreImage/CIVector.h>

#include <algorithm>

@implementation CIVector

+ (CIVector*)vectorWithValues:(const CGFloat*)values count:(size_t)count {
    if (values == nullptr || count == 0) return nil;
    CIVector* vector = [[[CIVector alloc] init] autorelease];
    vector->_values = new CGFloat[count];
    vector->_count = count;
    std::copy_n(values, count, vector->_values);
    return vector;
}

+ (CIVector*)vectorWithX:(CGFloat)x {
    return [CIVector vectorWithValues:&x count:1];
}

+ (CIVector*)vectorWithX:(CGFloat)x Y:(CGFloat)y {
    const CGFloat values[] = {x, y};
    return [CIVector vectorWithValues:values count:2];
}

+ (CIVector*)vectorWithX:(CGFloat)x Y:(CGFloat)y Z:(CGFloat)z {
    const CGFloat values[] = {x, y, z};
    return [CIVector vectorWithValues:values count:3];
}

+ (CIVector*)vectorWithX:(CGFloat)x Y:(CGFloat)y Z:(CGFloat)z W:(CGFloat)w {
    const CGFloat values[] = {x, y, z, w};
    return [CIVector vectorWithValues:values count:4];
}

+ (CIVector*)vectorWithCGPoint:(CGPoint)point {
    return [CIVector vectorWithX:point.x Y:point.y];
}

+ (CIVector*)vectorWithCGRect:(CGRect)rect {
    return [CIVector vectorWithX:rect.origin.x Y:rect.origin.y Z:rect.size.width W:rect.size.height];
}

- (void)dealloc {
    delete[] _values;
    [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
    (void)zone;
    return [self retain];
}

- (size_t)count {
    return _count;
}

- (CGFloat)valueAtIndex:(size_t)index {
    return index < _count ? _values[index] : 0;
}

- (CGFloat)X {
    return [self valueAtIndex:0];
}

- (CGFloat)Y {
    return [self valueAtIndex:1];
}

- (CGFloat)Z {
    return [self valueAtIndex:2];
}

- (CGFloat)W {
    return [self valueAtIndex:3];
}

- (CGPoint)CGPointValue {
    return CGPointMake([self X], [self Y]);
}

- (CGRect)CGRectValue {
    return CGRectMake([self X], [self Y], [self Z], [self W]);
}

// Equal vectors have equal texts, so the hash is that of the text: the addition turns -0 into 0.
- (NSString*)stringRepresentation {
    NSMutableString* text = [NSMutableString stringWithString:@"["];
    for (size_t index = 0; index < _count; ++index) {
        [text appendFormat:index == 0 ? @"%g" : @" %g", (double)_values[index] + 0];
    }
    [text appendString:@"]"];
    return text;
}

- (NSString*)description {
    return [self stringRepresentation];
}

- (BOOL)isEqual:(id)other {
    if (other == self) return YES;
    if (![other isKindOfClass:[CIVector class]]) return NO;
    CIVector* vector = other;
    return vector->_count == _count && std::equal(_values, _values + _count, vector->_values);
}

- (NSUInteger)hash {
    return [[self stringRepresentation] hash];
}

@end
