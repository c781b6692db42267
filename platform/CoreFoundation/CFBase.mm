// CFBase.mm - reference counting of Core Foundation objects, by the messages of Objective-C.
//
// Messages to nil do nothing, so every function accepts null.

#import <Foundation/Foundation.h>

#include <CoreFoundation/CoreFoundation.h>

CFTypeRef CFRetain(CFTypeRef object) { return (CFTypeRef)[(id)object retain]; }

void CFRelease(CFTypeRef object) { [(id)object release]; }

CFIndex CFGetRetainCount(CFTypeRef object) { return (CFIndex)[(id)object retainCount]; }
