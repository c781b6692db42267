// value_bridge.h - moves the value of one filter key between a filter and the host.
//
// There is one pair of routines for each platform type, and one routine for a key's attributes. Each takes the filter
// object, which must not be null, and the key. Without a key or a filter, a getter returns null or 0 and a setter does
// nothing; neither is reported.
//
// Owns:    a getter's object passes to the host with its one reference; a setter borrows its value.
// Fails:   an NSException is logged and raised in the host, and the getter returns null or 0 (guard.h). Only
//          getattribute has no guard: exceptions pass through it.
// Threads: the host's thread.

#pragma once

#include "interface/handles.h"

@class NSString;

// Numbers. The setter rounds to single precision, so a number reads back as the nearest float.
[[nodiscard]] double getvalueNSNumber(ZEVAobjectStruct* self, NSString* key);
void setvalueNSNumber(ZEVAobjectStruct* self, NSString* key, double value);

// Objects of a value class. Each read returns a new host object. Setting null leaves the key unchanged.
[[nodiscard]] ZEVAobjectStruct* getvalueCIImage(ZEVAobjectStruct* self, NSString* key);
void setvalueCIImage(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);
[[nodiscard]] ZEVAobjectStruct* getvalueCIColor(ZEVAobjectStruct* self, NSString* key);
void setvalueCIColor(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);
[[nodiscard]] ZEVAobjectStruct* getvalueCIVector(ZEVAobjectStruct* self, NSString* key);
void setvalueCIVector(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);
[[nodiscard]] ZEVAobjectStruct* getvalueNSAffineTransform(ZEVAobjectStruct* self, NSString* key);
void setvalueNSAffineTransform(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);

// Color spaces. Unlike the others, setting null clears the key.
[[nodiscard]] ZEVAobjectStruct* getvalueCGColorSpace(ZEVAobjectStruct* self, NSString* key);
void setvalueCGColorSpace(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value);

// Raw bytes, copied both ways. Setting null, an empty block or a block without bytes leaves the key unchanged.
[[nodiscard]] ZEVAmemoryBlockStruct* getvalueNSData(ZEVAobjectStruct* self, NSString* key);
void setvalueNSData(ZEVAobjectStruct* self, NSString* key, ZEVAmemoryBlockStruct* value);

// The key's attributes as a new "CIAttributeQOR" object; null when the filter has none for the key.
[[nodiscard]] ZEVAobjectStruct* getattribute(ZEVAobjectStruct* self, NSString* key);
