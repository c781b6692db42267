// CIFilterDescription.mm - makes descriptions from the table of attributes.json (filter_attributes.h).
//
// A description is made when its filter is first used, its attributes when they are first asked for: a program that
// applies one filter creates neither the 250 keys of the others nor their attributes.

#import "CIFilterDescription.h"

#import <CoreImage/CIColor.h>
#import <CoreImage/CIConstants.h>
#import <CoreImage/CIVector.h>

#include <cstdlib>
#include <cstring>
#include <span>

#include "CoreImage/filter_attributes.h"

namespace {

// clang-format off
// The classes of values. A value of any other class is an object that only its filter knows.
const struct {
    const char* className;
    InputKind kind;
} kKinds[] = {
    // class               kind
    {"NSNumber",           InputKind::kNumber},
    {"CIVector",           InputKind::kVector},
    {"CIColor",            InputKind::kColor},
    {"CIImage",            InputKind::kImage},
    {"NSAffineTransform",  InputKind::kTransform},
    {"NSData",             InputKind::kData},
};
// clang-format on

const char* TextAt(unsigned index) { return kAttributeTextPool + kAttributeTextOffsets[index]; }

// The text of an index as an object. Each is created once and never released. Call it in a @synchronized block.
NSString* StringAt(unsigned index) {
    static NSString** const strings = static_cast<NSString**>(std::calloc(kAttributeTextCount, sizeof(NSString*)));
    if (strings[index] == nil) strings[index] = [[NSString alloc] initWithUTF8String:TextAt(index)];
    return strings[index];
}

InputKind KindOfClass(const char* className) {
    for (const auto& row : kKinds) {
        if (std::strcmp(row.className, className) == 0) return row.kind;
    }
    return InputKind::kObject;
}

std::span<const FilterDescriptionRow> Filters() { return {kFilterRows, kFilterRowCount}; }

std::span<const FilterKeyRow> KeysOf(const FilterDescriptionRow& filter) {
    return {kFilterKeyRows + filter.keyBegin, kFilterKeyRows + filter.keyEnd};
}

std::span<const AttributeRow> AttributesOf(const FilterKeyRow& key) {
    return {kAttributeRows + key.begin, kAttributeRows + key.end};
}

// The row of a filter; null for an unknown name.
const FilterDescriptionRow* FindRow(const char* name) {
    for (const FilterDescriptionRow& row : Filters()) {
        if (std::strcmp(TextAt(row.name), name) == 0) return &row;
    }
    return nullptr;
}

using Numbers = std::span<const double>;

// A rectangle whose width is beyond every finite one is CGRectInfinite: the text of the file rounds its numbers, and
// they differ between widths.
CIVector* VectorOfNumbers(Numbers numbers) {
    constexpr double kInfiniteRectangleSize = 1e307;
    if (numbers.size() == 4 && numbers[2] > kInfiniteRectangleSize) return [CIVector vectorWithCGRect:CGRectInfinite];
    NSMutableData* values = [NSMutableData dataWithLength:numbers.size() * sizeof(CGFloat)];
    auto* to = static_cast<CGFloat*>([values mutableBytes]);
    for (size_t index = 0; index < numbers.size(); ++index) to[index] = (CGFloat)numbers[index];
    return [CIVector vectorWithValues:to count:numbers.size()];
}

CIColor* ColorOfNumbers(Numbers numbers) {
    return [CIColor colorWithRed:(CGFloat)numbers[0]
                           green:(CGFloat)numbers[1]
                            blue:(CGFloat)numbers[2]
                           alpha:(CGFloat)numbers[3]];
}

NSAffineTransform* TransformOfNumbers(Numbers numbers) {
    NSAffineTransform* transform = [NSAffineTransform transform];
    NSAffineTransformStruct elements;
    elements.m11 = (CGFloat)numbers[0];
    elements.m12 = (CGFloat)numbers[1];
    elements.m21 = (CGFloat)numbers[2];
    elements.m22 = (CGFloat)numbers[3];
    elements.tX = (CGFloat)numbers[4];
    elements.tY = (CGFloat)numbers[5];
    [transform setTransformStruct:elements];
    return transform;
}

// The only data in the file, which describes it in words: a cube of 2 x 2 x 2 entries that changes no color.
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

// The value of an attribute as an object. All numbers are doubles.
id ValueOfRow(const AttributeRow& row, InputKind kind) {
    if (row.kind == AttributeValueKind::kText) {
        const char* name = TextAt(row.name);
        const bool isValue = std::strcmp(name, [kCIAttributeDefault UTF8String]) == 0 ||
                             std::strcmp(name, [kCIAttributeIdentity UTF8String]) == 0;
        if (isValue && kind == InputKind::kData) return IdentityCube();
        return StringAt(row.position);
    }
    const Numbers numbers(kAttributeNumbers + row.position, row.count);
    if (row.kind == AttributeValueKind::kNumber) return [NSNumber numberWithDouble:numbers[0]];
    switch (kind) {
        case InputKind::kVector:
            return VectorOfNumbers(numbers);
        case InputKind::kColor:
            return ColorOfNumbers(numbers);
        case InputKind::kTransform:
            return TransformOfNumbers(numbers);
        default:
            break;
    }
    NSMutableArray* list = [NSMutableArray array];
    for (const double number : numbers) [list addObject:[NSNumber numberWithDouble:number]];
    return list;
}

// The default of a key, retained; nil when it has none.
id DefaultOfKey(const FilterKeyRow& key, InputKind kind) {
    for (const AttributeRow& row : AttributesOf(key)) {
        if (std::strcmp(TextAt(row.name), [kCIAttributeDefault UTF8String]) == 0) return [ValueOfRow(row, kind) retain];
    }
    return nil;
}

// The attributes of one input.
NSDictionary* InputAttributes(const FilterKeyRow& key, const InputDescription& input) {
    NSMutableDictionary* attributes = [NSMutableDictionary dictionary];
    for (const AttributeRow& row : AttributesOf(key)) {
        NSString* name = StringAt(row.name);
        id value = [name isEqualToString:kCIAttributeDefault] ? input.defaultValue : ValueOfRow(row, input.kind);
        [attributes setObject:value forKey:name];
    }
    return attributes;
}

NSArray* CategoriesOf(const FilterDescriptionRow& filter) {
    NSMutableArray* categories = [NSMutableArray array];
    for (unsigned index = filter.categoryBegin; index < filter.categoryEnd; ++index) {
        [categories addObject:StringAt(kFilterCategories[index])];
    }
    return categories;
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
    @synchronized([CIFilterDescription class]) {
        CIFilterDescription* description = [madeDescriptions objectForKey:name];
        if (description != nil) return description;
        const FilterDescriptionRow* row = FindRow([name UTF8String]);
        if (row == nullptr) return nil;
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        description = [[CIFilterDescription alloc] initWithRow:row];
        [madeDescriptions setObject:description forKey:name];
        [description release];
        [pool release];
        return description;
    }
}

+ (NSArray*)names {
    @synchronized([CIFilterDescription class]) {
        NSMutableArray* names = [NSMutableArray array];
        for (const FilterDescriptionRow& row : Filters()) [names addObject:StringAt(row.name)];
        return names;
    }
}

- (id)initWithRow:(const FilterDescriptionRow*)row {
    self = [super init];
    if (self == nil) return nil;
    _row = row;
    _name = StringAt(row->name);
    _categories = [CategoriesOf(*row) retain];
    _function = core_image::FindFilter(TextAt(row->name));
    const std::span<const FilterKeyRow> keys = KeysOf(*row);
    _inputCount = keys.size();
    _inputs = static_cast<InputDescription*>(std::calloc(_inputCount, sizeof(InputDescription)));
    NSMutableArray* inputKeys = [NSMutableArray array];
    for (NSUInteger index = 0; index < _inputCount; ++index) {
        InputDescription& input = _inputs[index];
        input.key = StringAt(keys[index].name);
        input.name = TextAt(keys[index].name);
        input.length = [input.key length];
        input.kind = KindOfClass(TextAt(keys[index].className));
        input.defaultValue = DefaultOfKey(keys[index], input.kind);
        [inputKeys addObject:input.key];
    }
    _inputKeys = [inputKeys copy];
    return self;
}

- (NSDictionary*)attributes {
    @synchronized([CIFilterDescription class]) {
        if (_attributes != nil) return _attributes;
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        NSMutableDictionary* attributes = [NSMutableDictionary dictionary];
        [attributes setObject:_name forKey:kCIAttributeFilterName];
        [attributes setObject:StringAt(_row->displayName) forKey:kCIAttributeFilterDisplayName];
        [attributes setObject:_categories forKey:kCIAttributeFilterCategories];
        [attributes setObject:StringAt(_row->availableMac) forKey:kCIAttributeFilterAvailable_Mac];
        const std::span<const FilterKeyRow> keys = KeysOf(*_row);
        for (NSUInteger index = 0; index < _inputCount; ++index) {
            [attributes setObject:InputAttributes(keys[index], _inputs[index]) forKey:_inputs[index].key];
        }
        _attributes = [attributes copy];
        [pool release];
        return _attributes;
    }
}

// Why not a dictionary: a filter has a dozen keys at most, and comparing lengths first leaves one or two candidates.
- (NSUInteger)indexOfKey:(NSString*)key {
    const NSUInteger length = [key length];
    for (NSUInteger index = 0; index < _inputCount; ++index) {
        const InputDescription& input = _inputs[index];
        if (input.key == key || (input.length == length && [input.key isEqualToString:key])) return index;
    }
    return NSNotFound;
}

@end
