// bare_module.cpp - code for macOS that imports nothing: a bundle without stubs and without a segment for Objective-C.

extern "C" __attribute__((visibility("default"))) int BareAnswer() { return 42; }
