// CGDataProvider.h - the source of an image's bytes: a data object that the provider retains, or functions that produce
// the bytes from the first to the last.
//
// The bytes of a sequential provider are those of a picture that is too large to be in memory as a whole: one that is
// decoded, or rendered, strip by strip.
//
// Ownership: the caller owns what Create and Copy return.
// Failure:   getBytes returns fewer bytes than requested and stores the reason in errno: ENODATA for a truncated
//            file, EBADMSG for a damaged one, ENOMEM.
// Threads:   providers of data are immutable and may be used on any thread. A sequential one is used by one at a time.

#pragma once

#include <CoreGraphics/CGBase.h>
#include <sys/types.h>

typedef struct CGDataProvider* CGDataProviderRef;

// Returns a provider for a data object, which it retains and which must not change; null for null.
CG_EXTERN CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data);

// The functions of a sequential provider; all of them get its info. getBytes copies the next bytes, skipForward skips
// some, rewind returns to the first one. releaseInfo is called when the provider is destroyed.
typedef struct {
    unsigned int version;  // 0
    size_t (*getBytes)(void* info, void* buffer, size_t count);
    off_t (*skipForward)(void* info, off_t count);
    void (*rewind)(void* info);
    void (*releaseInfo)(void* info);
} CGDataProviderSequentialCallbacks;

// Images of this many pixels and more are read and written row by row where that is possible.
enum { kCGSmallestSequential = 1 << 22 };

// Returns a provider that calls functions, which it copies. Of an image's bytes, whole rows are requested.
CG_EXTERN CGDataProviderRef CGDataProviderCreateSequential(void* info,
                                                           const CGDataProviderSequentialCallbacks* callbacks);

// Call the functions of a sequential provider. macOS keeps these to itself.
CG_EXTERN bool CGDataProviderIsSequential(CGDataProviderRef provider);
CG_EXTERN size_t CGDataProviderGetBytes(CGDataProviderRef provider, void* buffer, size_t count);
CG_EXTERN void CGDataProviderRewind(CGDataProviderRef provider);

// Retain and release a provider. Null is allowed.
CG_EXTERN CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider);
CG_EXTERN void CGDataProviderRelease(CGDataProviderRef provider);

// Returns the provider's data object, owned by the caller, without copying bytes; null for null and for a sequential
// provider, whose length is not known.
CG_EXTERN CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);
