// zvdata.h - holds host references for as long as a function needs them.
//
// Lifetime: on the stack, within one call from the host. The destructor gives back whatever the holder still holds,
//           also when an exception unwinds the call.
// Threads:  the host's thread only.

#pragma once

#include <cstddef>
#include <cstdint>

#include "interface/handles.h"
#include "interface/string_data.h"
#include "interface/word.h"

struct zvData {
    ZEVAstringStruct* stringRef = nullptr;  // a string; this holder owns one reference
    ZEVAobjectStruct* objectRef = nullptr;  // an object, such as a MemoryBlock; this holder owns one reference
    ZEVAstringData stringData;              // uninitialized until hasStringData is set
    bool hasStringData = false;             // stringData was lent by the host and must be given back
    const void* dataPtr = nullptr;          // the start of the bytes described
    std::int32_t dataLength = 0;            // the number of bytes described
    std::int32_t extraWord = 0;

    // Makes an empty holder. stringData stays uninitialized: it means nothing until the host has filled it.
    zvData() {}
    ~zvData() { Release(); }
    zvData(const zvData&) = delete;
    zvData& operator=(const zvData&) = delete;

    // Gives everything back: the string, then the object, then the string's bytes. The holder is empty afterward.
    void Release() noexcept;

    // Empties the holder without giving anything back.
    void Abandon();
};

static_assert(offsetof(zvData, objectRef) == sizeof(ZEVAword));
static_assert(offsetof(zvData, stringData) == 2 * sizeof(ZEVAword));
static_assert(offsetof(zvData, hasStringData) == 7 * sizeof(ZEVAword));
static_assert(offsetof(zvData, dataPtr) == 8 * sizeof(ZEVAword));
static_assert(offsetof(zvData, dataLength) == 9 * sizeof(ZEVAword));
static_assert(offsetof(zvData, extraWord) == 9 * sizeof(ZEVAword) + sizeof(std::int32_t));
