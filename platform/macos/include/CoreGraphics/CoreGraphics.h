// CoreGraphics.h - the Core Graphics declarations that the module's sources use.

#pragma once

typedef struct CGImage* CGImageRef;

extern "C" CGImageRef CGImageRetain(CGImageRef image);
