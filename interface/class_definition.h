// class_definition.h - the record that describes a class to the host, word by word.
//
// Hosts of record version 9 read the first 25 words only, with down-level tables (tables.h).
// Lifetime: records are static. The module changes a record in place when it registers it; from then on the host keeps
//           pointers into it for the life of the process.

#pragma once

#include <cstddef>

#include "interface/handles.h"
#include "interface/record_version.h"
#include "interface/tables.h"
#include "interface/word.h"

// The record version that the static records of this family are written in.
inline constexpr ZEVAword kRecordVersion = kNewestRecordVersion;

// Instance data sizes are rounded up to a multiple of this many bytes, a power of two.
inline constexpr ZEVAword kDataSizeStep = 16;

// A class as a host of record version 9 reads it. The tables have current entries while the record lies in a current
// one, and down-level entries once MyZEVARegisterClass has rewritten it.
struct ZEVAclassDefinitionDownLevel {
    ZEVAword version;
    const char* className;
    const char* superclassName;
    ZEVAword instanceDataSize;
    void (*initialize)(ZEVAobjectStruct*);  // called for a new object with all data zero, superclass first; may be null
    void (*finalize)(ZEVAobjectStruct*);    // called before an object is freed, subclass first; may be null
    ZEVAword hostWord6;
    ZEVAproperty* properties;
    ZEVAword propertyCount;
    ZEVAmethod* methods;
    ZEVAword methodCount;
    ZEVApair* pairs;
    ZEVAword pairCount;
    ZEVAword hostWords13[3];
    ZEVAword hostWords16[2];
    ZEVAtriple* triples;
    ZEVAword tripleCount;
    ZEVAword flags;
    ZEVAproperty* sharedProperties;
    ZEVAword sharedPropertyCount;
    ZEVAmethod* sharedMethods;  // called on the class, without an object
    ZEVAword sharedMethodCount;
};

struct ZEVAclassDefinition {
    ZEVAclassDefinitionDownLevel record;
    ZEVAword hostWords25[4];
};

static_assert(sizeof(ZEVAclassDefinition) == 29 * sizeof(ZEVAword));
static_assert(sizeof(ZEVAclassDefinitionDownLevel) == 25 * sizeof(ZEVAword));

#define ZEVA_ASSERT_WORD(field, word) \
    static_assert(offsetof(ZEVAclassDefinitionDownLevel, field) == (word) * sizeof(ZEVAword))
ZEVA_ASSERT_WORD(version, 0);
ZEVA_ASSERT_WORD(className, 1);
ZEVA_ASSERT_WORD(superclassName, 2);
ZEVA_ASSERT_WORD(instanceDataSize, 3);
ZEVA_ASSERT_WORD(initialize, 4);
ZEVA_ASSERT_WORD(finalize, 5);
ZEVA_ASSERT_WORD(hostWord6, 6);
ZEVA_ASSERT_WORD(properties, 7);
ZEVA_ASSERT_WORD(methods, 9);
ZEVA_ASSERT_WORD(pairs, 11);
ZEVA_ASSERT_WORD(hostWords13, 13);
ZEVA_ASSERT_WORD(hostWords16, 16);
ZEVA_ASSERT_WORD(triples, 18);
ZEVA_ASSERT_WORD(flags, 20);
ZEVA_ASSERT_WORD(sharedProperties, 21);
ZEVA_ASSERT_WORD(sharedMethods, 23);
ZEVA_ASSERT_WORD(sharedMethodCount, 24);
#undef ZEVA_ASSERT_WORD
