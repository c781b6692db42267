// CIEngine.h - what this engine tells about itself beyond the platform's classes. macOS has none of it.
//
// Threads: any; a failure belongs to the thread on which it happened.

#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Returns the instruction set that the engine uses on this processor: "ssse3", "sse4", "avx2" or "avx512", or "none"
// for code without vector instructions. The text is constant.
__attribute__((visibility("default"))) const char* CIEngineInstructionSet(void);

// Returns why the latest image of this thread was not made or not rendered; empty when it was, or when its inputs have
// no image, and after CIEngineForgetFailure. The text is valid until the thread uses an image again.
__attribute__((visibility("default"))) const char* CIEngineFailure(void);
__attribute__((visibility("default"))) void CIEngineForgetFailure(void);

#ifdef __cplusplus
}
#endif
