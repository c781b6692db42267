// recording_objects.h - Objective-C objects made for tests: they answer what a test tells them to, write every message
// into the recording host's log, count their references, and raise on demand.

#pragma once

#import <Foundation/Foundation.h>

#include "tests/boundary/foreign_exception.h"
#include "tests/boundary/recording_host.h"

// A filter, a value or a dictionary, as the test needs it.
//
// Log lines: "[filter valueForKey:inputRadius]", with the object's own name in front.
// Lifetime:  the process; a release only counts.
@interface RecordingObject : NSObject {
  @public
    const char* name;       // how the log calls it
    id answer;              // what valueForKey:, objectForKey: and attributes answer; not retained
    double number;          // what doubleValue answers
    const void* dataBytes;  // what bytes answers
    NSUInteger dataLength;  // what length answers
    BOOL isDictionary;      // what isKindOfClass: answers for NSDictionary
    id received;            // what setValue:forKey: was given last; not retained
    NSUInteger references;  // retains less releases, 1 when made
}

+ (RecordingObject*)named:(const char*)name;
@end

// Writes a message down, and raises where the host's faults say so.
void Say(const std::string& line);

// What is raised: an NSException with the name "SomeException", the reason "a reason" and some user info; and an object that is none.
NSException* TheException();
id TheOtherObject();

// A filter object of the tests that holds the filter: what a constructor would have left.
ZEVAobjectStruct MakeFilterObject(id filter);

// A constructed key, so that the module cannot know its address.
NSString* Key(const char* text);

// What the work threw as an Objective-C object, or nil. A frame of the test's own encloses the work, so a frame that
// the module left behind, or took away, would show.
id ThrownBy(void (*work)(void* context), void* context);

template <typename Work>
id ThrownBy(Work work) {
    return ThrownBy([](void* context) { (*static_cast<Work*>(context))(); }, &work);
}

// Writes what NSLog prints into the current host's log, as "NSLog " and the text, while it lives.
class CapturedLog {
  public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;

  private:
    NSLog_printf_handler* usual_;
};

// How the sibling module's +[NSException NewNSExceptionQOR:] behaves in the tests: it makes a "NSExceptionQOR" host
// object, unless told to answer null or to raise. Every call is written into the log.
enum class Conversion { kWorks, kAnswersNull, kRaises };
extern Conversion conversion;
