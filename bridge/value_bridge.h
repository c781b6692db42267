// value_bridge.h - moves the value of one filter key between a filter and the host.
//
// One pair of routines per platform type, and one for a key's attributes. Each takes the filter object, never null, and
// the key; without a key or a filter a getter answers null or 0 and a setter does nothing, silently.
//
// Owns:    a getter's object passes to the host with its one reference; a setter borrows what it is given.
// Fails:   an NSException on the way is logged and raised in the host, with the zero answer (guard.h). getattribute
//          alone has no guard: what it raises leaves it.
// Threads: the host's thread.

#pragma once

#include "interface/handles.h"

@class NSString;

// Numbers. The setter narrows to single precision, so a number reads back as the float nearest to it.
double getvalueNSNumber(ZEVAobjectStruct* self, NSString* key);
void setvalueNSNumber(ZEVAobjectStruct* self, NSString* key, double value);

// Objects of a value class. Each read makes a new host object; setting null leaves the key as it was.
ZEVAobjectStruct* getvalueCIImage(ZEVAobjectStruct* self, NSString* key);
void setvalueCIImage(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);
ZEVAobjectStruct* getvalueCIColor(ZEVAobjectStruct* self, NSString* key);
void setvalueCIColor(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);
ZEVAobjectStruct* getvalueCIVector(ZEVAobjectStruct* self, NSString* key);
void setvalueCIVector(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);
ZEVAobjectStruct* getvalueNSAffineTransform(ZEVAobjectStruct* self, NSString* key);
void setvalueNSAffineTransform(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);

// Color spaces. Unlike the others, setting null clears the key.
ZEVAobjectStruct* getvalueCGColorSpace(ZEVAobjectStruct* self, NSString* key);
void setvalueCGColorSpace(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);

// Raw bytes, copied both ways; null, an empty block or one whose bytes cannot be had leaves the key as it was.
ZEVAmemoryBlockStruct* getvalueNSData(ZEVAobjectStruct* self, NSString* key);
void setvalueNSData(ZEVAobjectStruct* self, NSString* key, ZEVAmemoryBlockStruct* value);

// What the filter says of the key, as a new "CIAttributeQOR" object; null when it says nothing.
ZEVAobjectStruct* getattribute(ZEVAobjectStruct* self, NSString* key);
