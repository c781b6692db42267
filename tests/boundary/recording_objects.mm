// recording_objects.mm - the recording objects, and the exception frames around calls.

#include "tests/boundary/recording_objects.h"

#include <dlfcn.h>
#include <objc/runtime.h>

namespace {

std::string Text(id object) { return object != nil ? [[object description] UTF8String] : "nil"; }

int openScopes = 0;

// A scope that its destructor closes.
struct Scope {
    Scope() { ++openScopes; }
    ~Scope() { --openScopes; }
};

id TheLock() {
    static id lock = [[NSObject alloc] init];
    return lock;
}

void RaiseInScopes(id object) {
    const Scope scope;
    ++openScopes;
    @try {
        @synchronized(TheLock()) {
            @throw object;
        }
    } @finally {
        --openScopes;
    }
}

void RaiseAndHandle(id object) {
    id caught = nil;
    @try {
        RaiseInScopes(object);
    } @catch (id thrown) {
        caught = thrown;
    }
    if (caught != object) RecordingHost::Current().Log("the handler did not get its exception");
}

void ThrowForeignInScopes() {
    const Scope scope;
    @synchronized(TheLock()) {
        ThrowForeign();
    }
}

}  // namespace

// Logs when it is asked for its parts.
@interface RecordingException : NSException
@end

@implementation RecordingException

- (NSString*)name {
    return Say("[exception name]") ? [super name] : nil;
}

- (NSString*)reason {
    return Say("[exception reason]") ? [super reason] : nil;
}

- (NSDictionary*)userInfo {
    return Say("[exception userInfo]") ? [super userInfo] : nil;
}

@end

@implementation RecordingObject

+ (RecordingObject*)named:(const char*)name {
    static auto& all = *new std::vector<RecordingObject*>;  // outlives every static, for the leak checker
    all.push_back([[RecordingObject alloc] init]);
    all.back()->name = name;
    all.back()->references = 1;
    return all.back();
}

- (bool)record:(const char*)message with:(const std::string&)arguments {
    return Say(std::string("[") + name + " " + message + arguments + "]");
}

- (id)valueForKey:(NSString*)key {
    return [self record:"valueForKey:" with:Text(key)] ? reply : nil;
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
    return [self record:"attributes" with:""] ? reply : nil;
}

- (id)objectForKey:(id)key {
    return [self record:"objectForKey:" with:Text(key)] ? reply : nil;
}

- (double)doubleValue {
    return [self record:"doubleValue" with:""] ? number : 0.0;
}

- (const void*)bytes {
    return [self record:"bytes" with:""] ? dataBytes : nullptr;
}

- (id)replyOfSelf {
    return successor != nil ? successor : self;
}

- (id)initWithBytes:(const void*)bytes length:(NSUInteger)length {
    const auto* text = static_cast<const char*>(bytes);
    return [self record:"initWithBytes:length:" with:{text, length}] ? [self replyOfSelf] : nil;
}

- (NSUInteger)length {
    return [self record:"length" with:""] ? dataLength : 0;
}

- (BOOL)isKindOfClass:(Class)wanted {
    const bool replies = [self record:"isKindOfClass:" with:class_getName(wanted)];
    return replies && isDictionary && wanted == objc_getClass("NSDictionary");
}

- (id)retain {
    const bool replies = [self record:"retain" with:""];
    ++references;
    return replies ? [self replyOfSelf] : nil;
}

// Never frees the object: the test reads the count afterward.
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

bool Say(const std::string& line) {
    RecordingHost& host = RecordingHost::Current();
    host.Log(line);
    const auto fault = host.messageFaults.find(line);
    switch (fault != host.messageFaults.end() ? fault->second : Raise::kNothing) {
        case Raise::kNothing:
            break;
        case Raise::kNSException:
            RaiseInScopes(TheException());
            break;
        case Raise::kOtherObject:
            RaiseInScopes(TheOtherObject());
            break;
        case Raise::kForeign:
            ThrowForeignInScopes();
            break;
        case Raise::kHandled:
            RaiseAndHandle(TheException());
            break;
    }
    return host.nilReplies.count(line) == 0;
}

int OpenScopes() { return openScopes; }

// The functions behind @synchronized, which tell nobody whether an object is locked: they replace the runtime's, and
// count the scopes of the recording objects' lock.
#define REPLACED_SYNC(function, change)                                                          \
    extern "C" __attribute__((visibility("default"))) int function(id object) {                  \
        static const auto original = reinterpret_cast<int (*)(id)>(dlsym(RTLD_NEXT, #function)); \
        if (object == TheLock()) openScopes += change;                                           \
        return original(object);                                                                 \
    }
REPLACED_SYNC(objc_sync_enter, 1)
REPLACED_SYNC(objc_sync_exit, -1)
#undef REPLACED_SYNC

NSException* TheException() {
    static NSException* exception = [[RecordingException alloc] initWithName:@"SomeException"
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
    // Asking the recording exception for its name would log a line of its own.
    NSString* name = exception == TheException() ? @"SomeException" : [exception name];
    RecordingHost::Current().Log("NewNSExceptionQOR: " + Text(name));
    if (conversion == Conversion::kRaises) [NSException raise:@"ConversionException" format:@"cannot"];
    return conversion == Conversion::kWorks ? RecordingHost::Current().NewObject("NSExceptionQOR") : nullptr;
}

@end
