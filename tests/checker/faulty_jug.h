// faulty_jug.h - the faulty module's objects, and the earlier calls that some faults depend on.

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "interface/handles.h"
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
    char* text;  // owned
    std::int32_t textSize;
    unsigned char* data;  // owned
    std::int32_t dataSize;
    ZEVAobjectStruct* partner;           // one reference
    ZEVAmemoryBlockStruct* lockedBlock;  // for faults only: one reference
    ZEVAmemoryBlockStruct* keptBlock;    // for faults only: one reference
    unsigned char* sharedBytes;          // for faults only: the bytes of a block
};

struct Attribute {
    unsigned char header[kZEVAobjectHeaderSize];
    std::int32_t number;  // for a fault only: how many attributes were made before
};

inline Jug& JugAt(ZEVAobjectStruct* object) { return *reinterpret_cast<Jug*>(object); }

inline int liveJugs = 0;
inline bool wasUsed = false;      // a jug has been constructed
inline bool anyHasEnded = false;  // a jug has been finalized
inline bool giverHasEnded = false;

// The last call, for faults that depend on the order of calls.
struct LastCall {
    enum Kind { kConstruct, kRead, kWrite } kind = kRead;
    const void* jug = nullptr;
    const char* property = "";
    int constructions = 0;            // in a row
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
