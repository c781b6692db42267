// tiny_module.mm - code for macOS for the tests of the loader: one function for each task of the loader.

#include <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

#include <cstring>

#define TINY_EXPORT extern "C" __attribute__((visibility("default")))

// A distance within the object, and an initialized variable.
static int counter = 41;
TINY_EXPORT int TinyCount() { return ++counter; }

// Addresses of data and of a function, stored in data.
static const char* const words[] = {"kettle", "vessel"};
TINY_EXPORT const char* TinyWord(int index) { return words[index]; }
static int (*const function)() = TinyCount;
TINY_EXPORT int TinyCountThroughPointer() { return function(); }

// An uninitialized variable.
static int zeros[1000];
TINY_EXPORT int* TinyZeros() { return zeros; }

// A function of this process.
TINY_EXPORT unsigned long TinyLength(const char* text) { return std::strlen(text); }

// A class, selectors, and messages that return an object or a double.
TINY_EXPORT Class TinyClass() { return [NSNumber class]; }
TINY_EXPORT double TinyDouble(id number) { return [number doubleValue]; }
TINY_EXPORT id TinyRetained(id object) { return [object retain]; }

// A constant string.
TINY_EXPORT NSString* TinyString() { return @"a text"; }

// A cleanup that runs when an exception of other code passes.
struct Cleanup {
    int& runs;
    ~Cleanup() { ++runs; }
};
TINY_EXPORT void TinyPass(void (*work)(), int* runs) {
    Cleanup cleanup{*runs};
    work();
}
