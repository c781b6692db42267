// tiny_module.mm - code for macOS made for the tests of the loader: one function for each thing that the loader does.

#include <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

#include <cstring>

#define TINY_EXPORT extern "C" __attribute__((visibility("default")))

// A distance within the object, and a variable that starts with a value.
static int counter = 41;
TINY_EXPORT int TinyCount() { return ++counter; }

// Addresses in data, of data and of a function.
static const char* const words[] = {"kettle", "vessel"};
TINY_EXPORT const char* TinyWord(int index) { return words[index]; }
static int (*const function)() = TinyCount;
TINY_EXPORT int TinyCountThroughPointer() { return function(); }

// A variable that starts as zero.
static int zeros[1000];
TINY_EXPORT int* TinyZeros() { return zeros; }

// A function of this process.
TINY_EXPORT unsigned long TinyLength(const char* text) { return std::strlen(text); }

// A class and a selector, and replies of both kinds.
TINY_EXPORT Class TinyClass() { return [NSNumber class]; }
TINY_EXPORT double TinyDouble(id number) { return [number doubleValue]; }
TINY_EXPORT id TinyRetained(id object) { return [object retain]; }

// A constant string.
TINY_EXPORT NSString* TinyString() { return @"a text"; }

// A cleanup that runs when an exception of others passes.
struct Cleanup {
    int& runs;
    ~Cleanup() { ++runs; }
};
TINY_EXPORT void TinyPass(void (*work)(), int* runs) {
    Cleanup cleanup{*runs};
    work();
}
