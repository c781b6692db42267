// recording_objects.mm - the recording objects, and the exception frames around calls.

#include "tests/boundary/recording_objects.h"

#include <objc/runtime.h>

#include <csetjmp>

namespace {

std::string Text(id object) { return object != nil ? [[object description] UTF8String] : "nil"; }

}  // namespace

@implementation RecordingObject

+ (RecordingObject*)named:(const char*)name {
    static auto& all = *new std::vector<RecordingObject*>;  // outlives every static, for the leak checker
    all.push_back([[RecordingObject alloc] init]);
    all.back()->name = name;
    all.back()->references = 1;
    return all.back();
}

- (void)record:(const char*)message with:(const std::string&)arguments {
    Say(std::string("[") + name + " " + message + arguments + "]");
}

- (id)valueForKey:(NSString*)key {
    [self record:"valueForKey:" with:Text(key)];
    return reply;
}

- (void)setValue:(id)value forKey:(NSString*)key {
    received = value;
    [self record:"setValue:forKey:" with:Text(value) + ", " + Text(key)];
}

- (id)setDefaults {
    [self record:"setDefaults" with:""];
    return self;
}

- (id)attributes {
    [self record:"attributes" with:""];
    return reply;
}

- (id)objectForKey:(id)key {
    [self record:"objectForKey:" with:Text(key)];
    return reply;
}

- (double)doubleValue {
    [self record:"doubleValue" with:""];
    return number;
}

- (const void*)bytes {
    [self record:"bytes" with:""];
    return dataBytes;
}

- (id)initWithBytes:(const void*)bytes length:(NSUInteger)length {
    [self record:"initWithBytes:length:" with:std::string(static_cast<const char*>(bytes), length)];
    return self;
}

- (NSUInteger)length {
    [self record:"length" with:""];
    return dataLength;
}

- (BOOL)isKindOfClass:(Class)wanted {
    [self record:"isKindOfClass:" with:class_getName(wanted)];
    return isDictionary && wanted == objc_getClass("NSDictionary");
}

- (id)retain {
    [self record:"retain" with:""];
    ++references;
    return self;
}

// Never frees the object: the test reads the count afterwards.
- (oneway void)release {
    --references;
    [self record:"release" with:""];
}

- (NSUInteger)retainCount {
    return references;
}

- (NSString*)description {
    return [NSString stringWithUTF8String:name];
}

@end

void Say(const std::string& line) {
    RecordingHost& host = RecordingHost::Current();
    host.Log(line);
    const auto fault = host.messageFaults.find(line);
    if (fault == host.messageFaults.end()) return;
    if (fault->second == Raise::kForeign) ThrowForeign();
    if (fault->second == Raise::kNSException) @throw TheException();
    if (fault->second == Raise::kOtherObject) @throw TheOtherObject();
}

NSException* TheException() {
    static NSException* exception = [[NSException alloc] initWithName:@"SomeException"
                                                               reason:@"a reason"
                                                             userInfo:[NSDictionary dictionaryWithObject:@"v"
                                                                                                  forKey:@"k"]];
    return exception;
}

id TheOtherObject() {
    static id object = [[NSObject alloc] init];
    return object;
}

ZEVAobjectStruct MakeFilterObject(id filter) {
    ZEVAobjectStruct object = {};
    object.className = "filterObject";
    object.fields[0] = reinterpret_cast<ZEVAword>(filter);
    return object;
}

NSString* Key(const char* text) { return [NSMutableString stringWithUTF8String:text]; }

#if UINTPTR_MAX == UINT32_MAX

extern "C" {
void objc_exception_try_enter(void* frame);
void objc_exception_try_exit(void* frame);
id objc_exception_extract(void* frame);
}

id ThrownBy(void (*work)(void* context), void* context) {
    struct {
        std::jmp_buf buffer;
        void* runtimeWords[4];
    } frame;
    objc_exception_try_enter(&frame);
    if (_setjmp(frame.buffer) != 0) return objc_exception_extract(&frame);
    work(context);
    // This reaches the frame above only if that is the innermost one again.
    NSObject* probe = [[[NSObject alloc] init] autorelease];
    if (_setjmp(frame.buffer) != 0) return objc_exception_extract(&frame) == probe ? nil : probe;
    @throw probe;
}

#else

id ThrownBy(void (*work)(void* context), void* context) {
    @try {
        work(context);
    } @catch (id thrown) {
        return thrown;
    }
    return nil;
}

#endif

namespace {

void LogLine(NSString* line) {
    // The line begins with the date and the process.
    NSRange bracket = [line rangeOfString:@"] "];
    std::string text = [[line substringFromIndex:NSMaxRange(bracket)] UTF8String];
    while (!text.empty() && text.back() == '\n') text.pop_back();
    RecordingHost::Current().Log("NSLog " + text);
}

}  // namespace

CapturedLog::CapturedLog() : original_(_NSLog_printf_handler) {
    // The first NSLog of a process initializes Foundation (defaults, time zone). That must happen before a test
    // replaces a method that the initialization uses.
    _NSLog_printf_handler = [](NSString*) {};
    static const bool isSetUp = (NSLog(@"first"), true);
    (void)isSetUp;
    _NSLog_printf_handler = LogLine;
}

CapturedLog::~CapturedLog() { _NSLog_printf_handler = original_; }

Conversion conversion = Conversion::kWorks;

@interface NSException (HostException)
+ (ZEVAobjectStruct*)NewNSExceptionQOR:(NSException*)exception;
@end

@implementation NSException (HostException)

+ (ZEVAobjectStruct*)NewNSExceptionQOR:(NSException*)exception {
    RecordingHost::Current().Log("NewNSExceptionQOR: " + Text([exception name]));
    if (conversion == Conversion::kRaises) [NSException raise:@"ConversionException" format:@"cannot"];
    return conversion == Conversion::kWorks ? RecordingHost::Current().NewObject("NSExceptionQOR") : nullptr;
}

@end
