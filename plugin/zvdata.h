// zvdata.h - holds host references for as long as a function needs them.
//
// Lifetime: on the stack of one call from the host. What it holds when it goes out of scope it gives back, also when an
//           exception unwinds the call.
// Threads:  the host's thread only.

#pragma once

#include "plugin/zeva.h"

struct zvData {
    ZEVAstringStruct* stringRef = nullptr;  // a string we hold one reference to
    ZEVAobjectStruct* objectRef = nullptr;  // an object, a MemoryBlock say, we hold one reference to
    ZEVAstringData stringData;              // unset until hasStringData
    bool hasStringData = false;             // stringData is lent to us and must be given back
    const void* dataPtr = nullptr;          // the bytes described
    std::int32_t dataLength = 0;            // and how many they are
    std::int32_t extraWord = 0;

    // Empty. Why stringData stays as it is: it has a meaning only once the host has filled it.
    zvData() {}
    ~zvData() { Release(); }
    zvData(const zvData&) = delete;
    zvData& operator=(const zvData&) = delete;

    // Gives back all that is held: the string, then the object, then the string's bytes; the holder is empty
    //                              afterwards.
    void Release() noexcept;

    // Forgets what is held without giving it back.
    void Abandon();
};

static_assert(offsetof(zvData, objectRef) == sizeof(ZEVAword));
static_assert(offsetof(zvData, stringData) == 2 * sizeof(ZEVAword));
static_assert(offsetof(zvData, hasStringData) == 7 * sizeof(ZEVAword));
static_assert(offsetof(zvData, dataPtr) == 8 * sizeof(ZEVAword));
static_assert(offsetof(zvData, dataLength) == 9 * sizeof(ZEVAword));
static_assert(offsetof(zvData, extraWord) == 9 * sizeof(ZEVAword) + sizeof(std::int32_t));
