// recording_objects.h - Objective-C objects made for tests: they return what the test sets, log every message in the
// recording host's log, count their references, and raise on demand.

#pragma once

#import <Foundation/Foundation.h>

#include "tests/boundary/foreign_exception.h"
#include "tests/boundary/recording_host.h"
#include "tests/boundary/thrown_object.h"

// Stands for a filter, a value or a dictionary.
//
// Log lines: "[filter valueForKey:inputRadius]", beginning with the object's name.
// Lifetime:  the process; a release only decrements the count.
@interface RecordingObject : NSObject {
  @public
    const char* name;       // its name in the log
    id reply;               // the result of valueForKey:, objectForKey: and attributes; not retained
    double number;          // the result of doubleValue
    const void* dataBytes;  // the result of bytes
    NSUInteger dataLength;  // the result of length
    BOOL isDictionary;      // the result of isKindOfClass: for NSDictionary
    id successor;           // the result of retain and initWithBytes:length:; the object itself when nil
    id received;            // the last value of setValue:forKey:; not retained
    NSUInteger references;  // retains minus releases, 1 at first
}

+ (RecordingObject*)named:(const char*)name;
@end

// Logs a message, and raises when the host's faults say so, inside scopes that the exception must leave. Returns false
// when the message is to reply nil.
bool Say(const std::string& line);

// The number of those scopes that exceptions have left open: destructors that did not run, @finally blocks that did
// not, and a lock that is still held.
int OpenScopes();

// The objects that are raised: an NSException with the name "SomeException", the reason "a reason" and some user info,
// which logs when it is asked for them; and an object of another class.
NSException* TheException();
id TheOtherObject();

// A filter object that holds the filter, as a constructor would leave it.
ZEVAobjectStruct MakeFilterObject(id filter);

// A key made at run time, so that its address differs from that of any constant.
NSString* Key(const char* text);

// Redirects NSLog into the current host's log, as "NSLog " and the text, during its lifetime.
class CapturedLog {
  public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;

  private:
    NSLog_printf_handler* original_;
};

// How the sibling module's +[NSException NewNSExceptionQOR:] behaves in the tests: it makes an "NSExceptionQOR" host
// object, returns null or raises. Every call is logged.
enum class Conversion { kWorks, kReturnsNull, kRaises };
extern Conversion conversion;
