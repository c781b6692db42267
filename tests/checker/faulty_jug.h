// faulty_jug.h - the objects of the faulty module, and what it remembers of them and of the calls before.

#pragma once

#include <algorithm>
#include <iterator>

#include "tests/checker/faulty_services.h"

constexpr double kDefaultNumber = 1.5;
constexpr std::int32_t kDefaultCount = 3;

struct Jug {
    unsigned char header[kZEVAobjectHeaderSize];
    bool isConstructed;
    bool isGift;
    bool gives;  // a gift has been given
    bool flag;
    double number;
    double other;
    std::int32_t count;
    std::int32_t ticks;
    char* text;  // ours
    std::int32_t textSize;
    unsigned char* data;  // ours
    std::int32_t dataSize;
    ZEVAobjectStruct* partner;      // one reference
    ZEVAobjectStruct* lockedBlock;  // of faults only: one reference
    ZEVAobjectStruct* keptBlock;    // of faults only: one reference
    unsigned char* sharedBytes;     // of faults only: those of a block
};

struct Attribute {
    unsigned char header[kZEVAobjectHeaderSize];
    std::int32_t number;  // how many there were before, where that is a fault
};

inline Jug& JugAt(ZEVAobjectStruct* object) { return *reinterpret_cast<Jug*>(object); }

inline int liveJugs = 0;
inline bool wasUsed = false;      // a jug was constructed
inline bool anyHasEnded = false;  // a jug has ended
inline bool giverHasEnded = false;

// What was done last, for faults that need an order of calls.
struct LastCall {
    enum Kind { kConstruct, kRead, kWrite } kind = kRead;
    const void* jug = nullptr;
    const char* property = "";
    int constructions = 0;            // how many there were in a row
    const void* constructed[3] = {};  // the last three
};
inline LastCall last;

inline void NoteConstruction(const void* jug) {
    last.constructions = last.kind == LastCall::kConstruct ? last.constructions + 1 : 1;
    last.kind = LastCall::kConstruct;
    std::rotate(std::begin(last.constructed), std::begin(last.constructed) + 1, std::end(last.constructed));
    last.constructed[2] = jug;
}

inline void NoteRead(const void* jug, const char* property) {
    const bool isOfAnother =
        last.kind == LastCall::kWrite && last.jug != jug && std::strcmp(last.property, property) != 0;
    if (isOfAnother && Broken("sequences.random")) Crash();
    last = {LastCall::kRead, jug, property};
}

inline void NoteWrite(const void* jug, const char* property) { last = {LastCall::kWrite, jug, property}; }
