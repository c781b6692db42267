// CGDataProvider.h - where an image's bytes come from: a data object that is kept.
//
// Ownership: Create and Copy give one reference; the provider retains its data.
// Threads:   providers never change and may be used on any thread.

#pragma once

#include <CoreGraphics/CGBase.h>

typedef struct CGDataProvider* CGDataProviderRef;

// A provider over a data object, which is retained and must not change; null for null.
CG_EXTERN CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data);

// One reference more, and one less; null is allowed.
CG_EXTERN CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider);
CG_EXTERN void CGDataProviderRelease(CGDataProviderRef provider);

// The provider's bytes, with one reference for the caller; no byte is copied.
CG_EXTERN CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);
