// CGDataProvider.h - the source of an image's bytes: a data object that the provider retains.
//
// Ownership: the caller owns what Create and Copy return.
// Threads:   providers are immutable and may be used on any thread.

#pragma once

#include <CoreGraphics/CGBase.h>

typedef struct CGDataProvider* CGDataProviderRef;

// Returns a provider for a data object, which it retains and which must not change; null for null.
CG_EXTERN CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data);

// Retain and release a provider. Null is allowed.
CG_EXTERN CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider);
CG_EXTERN void CGDataProviderRelease(CGDataProviderRef provider);

// Returns the provider's data object, owned by the caller, without copying bytes; null for null.
CG_EXTERN CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);
