// record.h - a class record as the module handed it over, read without trusting any of its pointers.
//
// The host keeps pointers into records and tables for the life of the process; a copy made at registration shows later
// whether the module has kept its promise to leave them alone.

#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "interface/class_definition.h"
#include "interface/entry_point.h"
#include "interface/word.h"

namespace checker {

// One entry of a method table.
struct MethodEntry {
    ZEVAentry function = nullptr;
    ZEVAentry setter = nullptr;
    std::optional<std::string> declaration;  // none: null, or nothing that can be read
    ZEVAword flags = 0;
    std::array<ZEVAword, 2> spareWords = {};  // not in entries of record version 9

    bool operator==(const MethodEntry&) const = default;
};

// One method table.
struct MethodTable {
    const char* title = "";
    bool isNull = true;
    ZEVAword count = 0;
    std::vector<MethodEntry> entries;  // empty when the table is null, or when it cannot be read

    bool operator==(const MethodTable&) const = default;
};

struct Record {
    const ZEVAclassDefinition* address = nullptr;
    bool isReadable = false;  // whether the record and everything it points to can be read
    std::string problem;      // what cannot be read; empty otherwise
    std::optional<std::string> className;
    std::optional<std::string> superclassName;
    ZEVAclassDefinitionDownLevel words = {};     // the record's own words; its pointers may point nowhere
    std::array<ZEVAword, 4> trailingWords = {};  // not in records of version 9
    MethodTable methods;
    MethodTable sharedMethods;

    // What the class is called in messages.
    std::string Name() const { return className.value_or("a class without name"); }
};

// Reads a record in the layout that its version names.
Record ReadRecord(const ZEVAclassDefinition* definition);

// Whether two readings of one record agree in everything that the host uses.
bool Agree(const Record& before, const Record& after);

}  // namespace checker
