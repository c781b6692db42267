// CFBase.mm - references of Core Foundation objects: the messages that every object answers.

#import <Foundation/Foundation.h>

#include <CoreFoundation/CoreFoundation.h>

CFTypeRef CFRetain(CFTypeRef object) { return (CFTypeRef)[(id)object retain]; }

void CFRelease(CFTypeRef object) { [(id)object release]; }

CFIndex CFGetRetainCount(CFTypeRef object) { return (CFIndex)[(id)object retainCount]; }
