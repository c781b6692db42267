// CIEngine.h - what this engine tells about itself and can do beyond the platform's classes. macOS has none of it.
//
// Threads: any; a failure belongs to the thread on which it happened.

#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Returns the instruction set that the engine uses on this processor: "sse2", "sse4", "avx2" or "avx512". The text is
// constant.
__attribute__((visibility("default"))) const char* CIEngineInstructionSet(void);

// Makes the engine use an instruction set on every processor that has it, so that machines of different age give the
// same bytes. Returns 0, and changes nothing, for a name that is none of the above and for one that this processor or
// this build does not have. Call it before anything is rendered.
__attribute__((visibility("default"))) int CIEngineSetInstructionSet(const char* name);

// Limits the threads that the engine and Image I/O use together. The limit lasts until the process ends.
__attribute__((visibility("default"))) void CIEngineSetThreads(int threads);

// Returns why the latest image of this thread was not made or not rendered; empty when it was, or when its inputs have
// no image, and after CIEngineForgetFailure. The text is valid until the thread uses an image again.
__attribute__((visibility("default"))) const char* CIEngineFailure(void);
__attribute__((visibility("default"))) void CIEngineForgetFailure(void);

// The memory limit of contexts that have none of their own, in bytes. By default it is a quarter of the machine's
// memory, and at most 1 GB in 32-bit programs. A new limit affects renderings that begin later.
__attribute__((visibility("default"))) uint64_t CIEngineMemoryLimit(void);
__attribute__((visibility("default"))) void CIEngineSetMemoryLimit(uint64_t bytes);

#ifdef __cplusplus
}
#endif

#ifdef __OBJC__
#import <CoreImage/CIImage.h>

// What becomes of the proportions of a resized image.
typedef enum {
    kCIEngineResizeStretch,  // the result has the size; proportions change
    kCIEngineResizeFit,      // proportions stay; the result is as large as fits into the size
    kCIEngineResizeFill,     // proportions stay; the result has the size, and what extends beyond it is cut off
} CIEngineResizeMode;

@interface CIImage (CIEngine)

// The image resized by Lanczos interpolation with three lobes in linear light; its lower left corner is at (0, 0). nil
// for an image whose extent is empty or not finite, and for a size below 1 x 1.
- (CIImage*)imageByResizingToWidth:(long)width height:(long)height mode:(CIEngineResizeMode)mode;

@end
#endif
