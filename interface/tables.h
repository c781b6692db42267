// tables.h - the entries of a class record's tables.
//
// Each entry has a current and a shorter, down-level layout for hosts of record version 9. The down-level entry is the
// leading part of the current one, so the current one contains it as its first field.
// Lifetime: tables are static, and the host keeps pointers to them for the life of the process.

#pragma once

#include "interface/entry_point.h"
#include "interface/word.h"

// The flags word of each class and method of this family. Only the host knows its meaning.
inline constexpr ZEVAword kHostFlags = 4;

// A method, a property's accessors or a constructor. The declaration tells which: "inputRadius as double" is a
// property, "Constructor" the constructor, "Crop(x as double) as CIImageQOR" a method.
//
// The types are double, integer (32 bits), boolean (an integer that is 0 or 1), string, memoryblock and the names of
// classes; of the last three a handle is passed, which may be null. The receiver is passed before the arguments, except
// to shared methods. Arguments are borrowed; a handle that is returned comes with one reference, which the host drops.
struct ZEVAmethodDownLevel {
    ZEVAentry function;       // the getter, for a property
    ZEVAentry setter;         // null for a read-only property, a method or a constructor
    const char* declaration;  // in the host's language
    ZEVAword flags;           // kHostFlags
};

struct ZEVAmethod {
    ZEVAmethodDownLevel entry;
    ZEVAword hostWords[2];
};

// A property-table entry. This family declares properties as methods and has no such entries; a module only shortens
// them for down-level hosts.
struct ZEVApropertyDownLevel {
    ZEVAword hostWords[10];
};

struct ZEVAproperty {
    ZEVApropertyDownLevel entry;
    ZEVAword hostWords[2];
};

// The entries of two tables whose meaning only the host knows.
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

static_assert(sizeof(ZEVAmethod) == 6 * sizeof(ZEVAword) && sizeof(ZEVAmethodDownLevel) == 4 * sizeof(ZEVAword));
static_assert(sizeof(ZEVAproperty) == 12 * sizeof(ZEVAword) && sizeof(ZEVApropertyDownLevel) == 10 * sizeof(ZEVAword));
static_assert(sizeof(ZEVApair) == 4 * sizeof(ZEVAword) && sizeof(ZEVApairDownLevel) == 2 * sizeof(ZEVAword));
static_assert(sizeof(ZEVAtriple) == 5 * sizeof(ZEVAword) && sizeof(ZEVAtripleDownLevel) == 3 * sizeof(ZEVAword));
