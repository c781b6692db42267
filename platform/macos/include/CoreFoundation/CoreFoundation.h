// CoreFoundation.h - the Core Foundation declarations that the module's sources use.

#pragma once

typedef const void* CFTypeRef;

extern "C" CFTypeRef CFRetain(CFTypeRef object);
