// CIFilter.mm - holds the values of one filter and makes its image.
//
// Why key-value coding is overridden completely: the general machinery looks up methods and variables by name each
// time; here a key is an index into an array. It also keeps filters strict: only inputs are keys.
//
// Exceptions: all inputs are read and checked, which may raise, before the engine is called; the values read are
//             views that need no clean-up. So an exception may leave any of these methods by longjmp, and nothing
//             here catches one. After the engine has run, a fault of the engine itself is raised as
//             NSInternalInconsistencyException.

#import <CoreImage/CIFilter.h>
#import <CoreImage/CIVector.h>

#import "CIFilterDescription.h"
#import "CIImageInternal.h"

#include <cstdlib>

namespace {

// The largest number of inputs of a filter; the longest list in attributes.json has ten.
constexpr NSUInteger kMostInputs = 16;

// Raises the exception of a message to an object that does not understand it.
[[noreturn]] void RaiseUnrecognized(id object, SEL selector) {
    [NSException raise:NSInvalidArgumentException
                format:@"-[%@ %@]: unrecognized selector sent to instance %p", NSStringFromClass([object class]),
                       NSStringFromSelector(selector), (void*)object];
    std::abort();  // raise does not return
}

void Require(id object, SEL selector) {
    if (![object respondsToSelector:selector]) RaiseUnrecognized(object, selector);
}

// Memory for the numbers of a filter's values: its own, or, for many numbers, memory that lives as long as the
// autorelease pool.
class NumberMemory {
  public:
    double* Take(size_t count) {
        if (count > kMost - used_) {
            return static_cast<double*>([[NSMutableData dataWithLength:count * sizeof(double)] mutableBytes]);
        }
        double* const taken = numbers_ + used_;
        used_ += count;
        return taken;
    }

  private:
    static constexpr size_t kMost = 96;  // enough for every filter's vectors, colors and transform

    double numbers_[kMost];
    size_t used_ = 0;
};

// The method is looked up once for all elements.
void ReadVector(id value, NumberMemory& memory, core_image::InputValue* input) {
    const SEL selector = @selector(valueAtIndex:);
    Require(value, selector);
    CIVector* vector = value;
    const auto valueAtIndex = reinterpret_cast<CGFloat (*)(id, SEL, size_t)>([vector methodForSelector:selector]);
    input->count = [vector count];
    double* numbers = memory.Take(input->count);
    for (size_t index = 0; index < input->count; ++index) numbers[index] = valueAtIndex(vector, selector, index);
    input->elements = numbers;
}

void ReadColor(id value, NumberMemory& memory, core_image::InputValue* input) {
    Require(value, @selector(components));
    const CGFloat* components = [(CIColor*)value components];
    input->count = 4;
    double* numbers = memory.Take(input->count);
    for (size_t index = 0; index < input->count; ++index) numbers[index] = components[index];
    input->elements = numbers;
}

void ReadTransform(id value, NumberMemory& memory, core_image::InputValue* input) {
    Require(value, @selector(transformStruct));
    const NSAffineTransformStruct transform = [(NSAffineTransform*)value transformStruct];
    input->count = 6;
    double* numbers = memory.Take(input->count);
    numbers[0] = transform.m11;
    numbers[1] = transform.m12;
    numbers[2] = transform.m21;
    numbers[3] = transform.m22;
    numbers[4] = transform.tX;
    numbers[5] = transform.tY;
    input->elements = numbers;
}

// Found once, because the run-time finds a class by its name in each message to it.
Class ImageClass() {
    static const Class imageClass = [CIImage class];
    return imageClass;
}

void RetainInput(const void* object) { CFRetain(object); }
void ReleaseInput(const void* object) { CFRelease(object); }

// Copying immutable data costs nothing.
void ReadData(NSData* value, core_image::InputValue* input) {
    NSData* data = [[value copy] autorelease];
    input->bytes = [data bytes];
    input->count = [data length];
    input->owner = {data, RetainInput, ReleaseInput};
}

// Reads a color space. An object that is not a space of red, green and blue reads as kOther.
void ReadSpace(id object, core_image::InputValue* input) {
    input->space = core_image::ColorSpace::kOther;
    CGColorSpaceRef known = CGColorSpaceCreateDeviceRGB();
    const bool isSpace = [object isKindOfClass:[(id)known class]];
    CGColorSpaceRelease(known);
    if (!isSpace || CGColorSpaceGetModel((CGColorSpaceRef)object) != kCGColorSpaceModelRGB) return;
    const core_image::SpaceCoding coding = core_image::CodingOfSpace((CGColorSpaceRef)object);
    input->bytes = coding.profile.bytes;
    input->count = coding.profile.length;
    const bool isLinear = coding.transfer == core_image::Transfer::kLinear;
    input->space = coding.profile.bytes != nullptr ? core_image::ColorSpace::kProfile
                   : isLinear                      ? core_image::ColorSpace::kLinear
                                                   : core_image::ColorSpace::kSRGB;
}

// Reads one input according to its kind. A nil image stays empty; any other nil reads as the default.
void ReadInput(const InputDescription& description, id value, NumberMemory& memory, core_image::InputValue* input) {
    input->key = description.name;
    if (value == nil) value = description.defaultValue;
    if (value == nil) return;
    switch (description.kind) {
        case InputKind::kNumber:
            Require(value, @selector(floatValue));
            input->number = [value doubleValue];
            break;
        case InputKind::kVector:
            ReadVector(value, memory, input);
            break;
        case InputKind::kColor:
            ReadColor(value, memory, input);
            break;
        case InputKind::kTransform:
            ReadTransform(value, memory, input);
            break;
        case InputKind::kImage:
            if (![value isKindOfClass:ImageClass()]) RaiseUnrecognized(value, @selector(extent));
            input->image = [(CIImage*)value handle];
            break;
        case InputKind::kData:
            if (![value isKindOfClass:[NSData class]]) RaiseUnrecognized(value, @selector(bytes));
            ReadData(value, input);
            break;
        case InputKind::kObject:
            ReadSpace(value, input);
            break;
    }
}

}  // namespace

@implementation CIFilter

+ (CIFilter*)filterWithName:(NSString*)name {
    CIFilterDescription* description = [CIFilterDescription descriptionWithName:name];
    if (description == nil) return nil;
    return [[[CIFilter alloc] initWithDescription:description] autorelease];
}

+ (CIFilter*)filterWithName:(NSString*)name withInputParameters:(NSDictionary*)parameters {
    CIFilter* filter = [CIFilter filterWithName:name];
    if (filter == nil) return nil;
    for (NSString* key in parameters) [filter setValue:[parameters objectForKey:key] forKey:key];
    return filter;
}

+ (NSArray*)filterNamesInCategory:(NSString*)category {
    return [CIFilter filterNamesInCategories:category == nil ? nil : [NSArray arrayWithObject:category]];
}

+ (NSArray*)filterNamesInCategories:(NSArray*)categories {
    NSMutableArray* names = [NSMutableArray array];
    for (NSString* name in [CIFilterDescription names]) {
        NSArray* has = [CIFilterDescription descriptionWithName:name]->_categories;
        bool all = true;
        for (NSString* category in categories) all = all && [has containsObject:category];
        if (all) [names addObject:name];
    }
    return names;
}

// A filter needs a name.
- (id)init {
    [self release];
    return nil;
}

- (id)initWithDescription:(CIFilterDescription*)description {
    self = [super init];
    if (self == nil) return nil;
    _filterDescription = description;
    _values = static_cast<id*>(std::calloc(description->_inputCount, sizeof(id)));
    [self setDefaults];
    return self;
}

- (void)dealloc {
    if (_values != nullptr) {
        for (NSUInteger index = 0; index < _filterDescription->_inputCount; ++index) [_values[index] release];
        std::free(_values);
    }
    [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
    (void)zone;
    CIFilter* copy = [[CIFilter alloc] initWithDescription:_filterDescription];
    for (NSUInteger index = 0; index < _filterDescription->_inputCount; ++index) {
        [copy->_values[index] release];
        copy->_values[index] = [_values[index] retain];
    }
    return copy;
}

- (NSString*)name {
    return _filterDescription->_name;
}

- (NSArray*)inputKeys {
    return _filterDescription->_inputKeys;
}

- (NSArray*)outputKeys {
    return [NSArray arrayWithObject:kCIOutputImageKey];
}

- (NSDictionary*)attributes {
    return [_filterDescription attributes];
}

- (void)setDefaults {
    for (NSUInteger index = 0; index < _filterDescription->_inputCount; ++index) {
        id value = _filterDescription->_inputs[index].defaultValue;
        if (value == nil) continue;
        [value retain];
        [_values[index] release];
        _values[index] = value;
    }
}

- (CIImage*)outputImage {
    const core_image::FilterFunction function = _filterDescription->_function;
    if (function == nullptr) return nil;
    const NSUInteger count = _filterDescription->_inputCount;
    core_image::InputValue values[kMostInputs];
    NumberMemory numbers;
    NSAssert(count <= kMostInputs, @"filter %@: more inputs than can be read", [self name]);
    for (NSUInteger index = 0; index < count; ++index) {
        values[index] = {};
        ReadInput(_filterDescription->_inputs[index], _values[index], numbers, &values[index]);
    }
    core_image::Fault fault;
    core_image::ImageHandle* image = core_image::MakeOutput(function, values, count, &fault);
    if (fault.text[0] != '\0') [NSException raise:NSInternalInconsistencyException format:@"%s", fault.text];
    return [ImageClass() imageOwningHandle:image];
}

- (id)valueForKey:(NSString*)key {
    const NSUInteger index = [_filterDescription indexOfKey:key];
    if (index != NSNotFound) return [[_values[index] retain] autorelease];
    if ([key isEqual:kCIOutputImageKey]) return [self outputImage];
    return [self valueForUndefinedKey:key];
}

- (void)setValue:(id)value forKey:(NSString*)key {
    const NSUInteger index = [_filterDescription indexOfKey:key];
    if (index == NSNotFound) {
        [self setValue:value forUndefinedKey:key];
        return;
    }
    [value retain];
    [_values[index] release];
    _values[index] = value;
}

- (id)valueForUndefinedKey:(NSString*)key {
    [NSException raise:NSUndefinedKeyException
                format:@"[<%@ %p> valueForUndefinedKey:]: this class is not key value coding-compliant for the key %@.",
                       [self name], (void*)self, key];
    return nil;
}

- (void)setValue:(id)value forUndefinedKey:(NSString*)key {
    (void)value;
    [NSException
         raise:NSUndefinedKeyException
        format:@"[<%@ %p> setValue:forUndefinedKey:]: this class is not key value coding-compliant for the key %@.",
               [self name], (void*)self, key];
}

- (NSString*)description {
    return [NSString stringWithFormat:@"<%@ %p>", [self name], (void*)self];
}

@end
