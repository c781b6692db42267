// zeva.h - the shapes that cross the boundary between the host and a module.
//
// The host loads a module, calls its one exported function ZEVAPluginMain and hands it a resolver; everything after
// that goes through the structures of this file. Handles are opaque here: the host alone knows what stands behind them.
//
// Widths:   every field is one word, as wide as a pointer: 4 bytes on the module's own target. Counts and flags are
//           32-bit numbers held in a word.
// Layouts:  a host of record version 9 knows shorter structures ("down-level"). Each of them is the leading part of the
//           current one, so the current one contains it as its first field.
// Lifetime: records and tables are static; the host keeps pointers to them for the life of the process.
// Threads:  the host's thread only.

#pragma once

#include <cstddef>
#include <cstdint>

using ZEVAword = std::intptr_t;

struct ZEVAobjectStruct;       // a host object
struct ZEVAstringStruct;       // a host string
struct ZEVAmemoryBlockStruct;  // a host block of raw bytes, itself an object

// Answers the address of a host service, or null for a name that the host does not know.
using ZEVAentry = void (*)();
using ZEVAresolver = ZEVAentry (*)(const char* name);

// A string's bytes as the host lends them; given back with ZEVADisposeStringData.
struct ZEVAstringData {
    void* bytes;
    ZEVAword hostWords[4];
};

// The record version that this family's records are written in, and the flags word of each of its classes and methods;
// what the flags mean is the host's business.
inline constexpr ZEVAword kRecordVersion = 12;
inline constexpr ZEVAword kHostFlags = 4;

// How far into an object its instance data begins. The data of a superclass comes first.
inline constexpr std::size_t kZEVAobjectHeaderSize = 24;

// One method, property accessor pair or constructor, told apart by the declaration:
// "inputRadius as double" is a property, "Constructor" the constructor, "Crop(x as double) as CIImageQOR" a method.
struct ZEVAmethodDownLevel {
    ZEVAentry function;       // the getter, for a property
    ZEVAentry setter;         // null: read-only, or no property
    const char* declaration;  // in the host's language
    ZEVAword flags;           // kHostFlags
};

struct ZEVAmethod {
    ZEVAmethodDownLevel entry;
    ZEVAword hostWords[2];
};

// A property-table entry. This family declares properties as methods and has no such entries; they are only shortened.
struct ZEVApropertyDownLevel {
    ZEVAword hostWords[10];
};

struct ZEVAproperty {
    ZEVApropertyDownLevel entry;
    ZEVAword hostWords[2];
};

// The entries of the two tables whose meaning is the host's alone.
struct ZEVApairDownLevel {
    ZEVAword hostWords[2];
};

struct ZEVApair {
    ZEVApairDownLevel entry;
    ZEVAword hostWords[2];
};

struct ZEVAtripleDownLevel {
    ZEVAword hostWords[3];
};

struct ZEVAtriple {
    ZEVAtripleDownLevel entry;
    ZEVAword hostWords[2];
};

// A class as a host of record version 9 reads it. Tables point to current entries as long as the record lies in a
// current one, and to down-level entries once MyZEVARegisterClass has rewritten it.
struct ZEVAclassDefinitionDownLevel {
    ZEVAword version;
    const char* className;
    const char* superclassName;
    ZEVAword instanceDataSize;
    void (*initialize)(ZEVAobjectStruct*);  // a new object, its data all zero; null: nothing to do
    void (*finalize)(ZEVAobjectStruct*);    // an object about to go, before its superclass's; null: nothing to do
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

// The layouts are the contract, word by word.
static_assert(sizeof(ZEVAword) == sizeof(void*));
static_assert(sizeof(ZEVAstringData) == 5 * sizeof(ZEVAword));
static_assert(sizeof(ZEVAmethod) == 6 * sizeof(ZEVAword) && sizeof(ZEVAmethodDownLevel) == 4 * sizeof(ZEVAword));
static_assert(sizeof(ZEVAproperty) == 12 * sizeof(ZEVAword) && sizeof(ZEVApropertyDownLevel) == 10 * sizeof(ZEVAword));
static_assert(sizeof(ZEVApair) == 4 * sizeof(ZEVAword) && sizeof(ZEVApairDownLevel) == 2 * sizeof(ZEVAword));
static_assert(sizeof(ZEVAtriple) == 5 * sizeof(ZEVAword) && sizeof(ZEVAtripleDownLevel) == 3 * sizeof(ZEVAword));
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
