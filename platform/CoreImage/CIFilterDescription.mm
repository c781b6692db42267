// CIFilterDescription.mm - makes descriptions out of attributes.json.
//
// Why the text is read at run time: the file then stays the only place where defaults and ranges are written, and what a filter
// says of itself is what stands there, key by key. Reading it takes a few milliseconds, once.

#import "CIFilterDescription.h"

#import <CoreImage/CIColor.h>
#import <CoreImage/CIConstants.h>
#import <CoreImage/CIVector.h>

#include <cstdlib>
#include <iterator>

// The text of attributes.json.
extern const char kFilterAttributesText[];

namespace {

// clang-format off
// The names of a filter's own entries in attributes.json, and what they are called in its attributes.
const struct {
    NSString* entry;
    NSString* const* attribute;
} kFilterEntries[] = {
    // entry           attribute
    {@"displayName",   &kCIAttributeFilterDisplayName},
    {@"categories",    &kCIAttributeFilterCategories},
    {@"availableMac",  &kCIAttributeFilterAvailable_Mac},
};

// The classes of values; any other is an object that only its filter knows.
const struct {
    NSString* className;
    InputKind kind;
} kKinds[] = {
    // class                kind
    {@"NSNumber",           InputKind::number},
    {@"CIVector",           InputKind::vector},
    {@"CIColor",            InputKind::color},
    {@"CIImage",            InputKind::image},
    {@"NSAffineTransform",  InputKind::transform},
    {@"NSData",             InputKind::data},
};
// clang-format on

InputKind KindOfClass(NSString* className) {
    for (const auto& row : kKinds) {
        if ([row.className isEqualToString:className]) return row.kind;
    }
    return InputKind::object;
}

// A list of numbers as a vector. What is as large as an infinite rectangle is one: text rounds its numbers, and they differ
// between widths.
CIVector* VectorOfList(NSArray* list) {
    constexpr double kInfiniteRectangleSize = 1e307;
    const NSUInteger count = [list count];
    if (count == 4 && [[list objectAtIndex:2] doubleValue] > kInfiniteRectangleSize) {
        return [CIVector vectorWithCGRect:CGRectInfinite];
    }
    NSMutableData* values = [NSMutableData dataWithLength:count * sizeof(CGFloat)];
    auto* to = static_cast<CGFloat*>([values mutableBytes]);
    for (NSUInteger index = 0; index < count; ++index) to[index] = (CGFloat)[[list objectAtIndex:index] doubleValue];
    return [CIVector vectorWithValues:to count:count];
}

CIColor* ColorOfList(NSArray* list) {
    return [CIColor colorWithRed:(CGFloat)[[list objectAtIndex:0] doubleValue]
                           green:(CGFloat)[[list objectAtIndex:1] doubleValue]
                            blue:(CGFloat)[[list objectAtIndex:2] doubleValue]
                           alpha:(CGFloat)[[list objectAtIndex:3] doubleValue]];
}

NSAffineTransform* TransformOfList(NSArray* list) {
    NSAffineTransform* transform = [NSAffineTransform transform];
    NSAffineTransformStruct numbers;
    numbers.m11 = (CGFloat)[[list objectAtIndex:0] doubleValue];
    numbers.m12 = (CGFloat)[[list objectAtIndex:1] doubleValue];
    numbers.m21 = (CGFloat)[[list objectAtIndex:2] doubleValue];
    numbers.m22 = (CGFloat)[[list objectAtIndex:3] doubleValue];
    numbers.tX = (CGFloat)[[list objectAtIndex:4] doubleValue];
    numbers.tY = (CGFloat)[[list objectAtIndex:5] doubleValue];
    [transform setTransformStruct:numbers];
    return transform;
}

// The only data in the file, which describes it in words: a cube of two steps that changes no color.
NSData* IdentityCube() {
    float texels[8][4];
    for (unsigned index = 0; index < 8; ++index) {
        texels[index][0] = static_cast<float>(index & 1);
        texels[index][1] = static_cast<float>(index >> 1 & 1);
        texels[index][2] = static_cast<float>(index >> 2 & 1);
        texels[index][3] = 1;
    }
    return [NSData dataWithBytes:texels length:sizeof texels];
}

// A value of the file as the object that stands for it in the attributes. Strings stay; all numbers are doubles.
id AttributeValue(id value, InputKind kind) {
    if ([value isKindOfClass:[NSNumber class]]) return [NSNumber numberWithDouble:[value doubleValue]];
    if ([value isKindOfClass:[NSArray class]]) {
        switch (kind) {
            case InputKind::vector:
                return VectorOfList(value);
            case InputKind::color:
                return ColorOfList(value);
            case InputKind::transform:
                return TransformOfList(value);
            default:
                return value;
        }
    }
    return value;
}

// The attributes of one input.
NSDictionary* InputAttributes(NSDictionary* entries, InputKind kind) {
    NSMutableDictionary* attributes = [NSMutableDictionary dictionary];
    for (NSString* name in entries) {
        const bool isValue = [name isEqualToString:kCIAttributeDefault] || [name isEqualToString:kCIAttributeIdentity];
        id value =
            isValue && kind == InputKind::data ? IdentityCube() : AttributeValue([entries objectForKey:name], kind);
        [attributes setObject:value forKey:name];
    }
    return attributes;
}

// The file, parsed; never released.
NSDictionary* Entries() {
    static NSDictionary* const entries = [] {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        NSData* text = [NSData dataWithBytes:kFilterAttributesText length:strlen(kFilterAttributesText)];
        NSDictionary* parsed = [[NSJSONSerialization JSONObjectWithData:text options:0 error:nullptr] retain];
        [pool release];
        return parsed;
    }();
    return entries;
}

}  // namespace

@implementation CIFilterDescription

// The descriptions made so far, by name.
static NSMutableDictionary* madeDescriptions;

+ (void)initialize {
    if (self == [CIFilterDescription class]) madeDescriptions = [[NSMutableDictionary alloc] init];
}

+ (CIFilterDescription*)descriptionWithName:(NSString*)name {
    if (name == nil) return nil;
    @synchronized(self) {
        CIFilterDescription* description = [madeDescriptions objectForKey:name];
        NSDictionary* entries = description == nil ? [Entries() objectForKey:name] : nil;
        if (entries != nil) {
            NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
            description = [[CIFilterDescription alloc] initWithName:name entries:entries];
            [madeDescriptions setObject:description forKey:name];
            [description release];
            [pool release];
        }
        return description;
    }
}

+ (NSArray*)names {
    return [[Entries() allKeys] sortedArrayUsingSelector:@selector(compare:)];
}

- (id)initWithName:(NSString*)name entries:(NSDictionary*)entries {
    self = [super init];
    if (self == nil) return nil;
    _name = [name copy];
    _function = core_image::FindFilter([_name UTF8String]);

    NSDictionary* keys = [entries objectForKey:@"keys"];
    _inputKeys = [[[keys allKeys] sortedArrayUsingSelector:@selector(compare:)] retain];
    _inputCount = [_inputKeys count];
    _inputs = static_cast<InputDescription*>(std::calloc(_inputCount, sizeof(InputDescription)));

    NSMutableDictionary* attributes = [NSMutableDictionary dictionaryWithObject:_name forKey:kCIAttributeFilterName];
    for (const auto& row : kFilterEntries)
        [attributes setObject:[entries objectForKey:row.entry] forKey:*row.attribute];
    for (NSUInteger index = 0; index < _inputCount; ++index) {
        NSString* key = [_inputKeys objectAtIndex:index];
        NSDictionary* described = [keys objectForKey:key];
        InputDescription& input = _inputs[index];
        input.key = key;
        input.name = strdup([key UTF8String]);
        input.length = [key length];
        input.kind = KindOfClass([described objectForKey:kCIAttributeClass]);
        NSDictionary* inputAttributes = InputAttributes(described, input.kind);
        input.defaultValue = [inputAttributes objectForKey:kCIAttributeDefault];
        [attributes setObject:inputAttributes forKey:key];
    }
    _categories = [[attributes objectForKey:kCIAttributeFilterCategories] retain];
    _attributes = [attributes copy];
    return self;
}

// Why not a dictionary: a filter has a dozen keys at most, and comparing lengths first leaves one or two to look at.
- (NSUInteger)indexOfKey:(NSString*)key {
    const NSUInteger length = [key length];
    for (NSUInteger index = 0; index < _inputCount; ++index) {
        const InputDescription& input = _inputs[index];
        if (input.key == key || (input.length == length && [input.key isEqualToString:key])) return index;
    }
    return NSNotFound;
}

@end
