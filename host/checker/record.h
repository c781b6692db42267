// record.h - a copy of a class record, read without trusting any of its pointers.
//
// The host keeps pointers into records and tables for the life of the process. A copy made at registration shows later
// whether the module has left them unchanged.
//
// Failure: a record that cannot be read has isReadable false and says what is wrong.
// Threads: the host's thread.

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
    std::optional<std::string> declaration;  // empty when the pointer is null or cannot be read
    ZEVAword flags = 0;
    std::array<ZEVAword, 2> spareWords = {};  // absent from entries of record version 9

    bool operator==(const MethodEntry&) const = default;
};

// One method table.
struct MethodTable {
    const char* title = "";
    bool isNull = true;
    ZEVAword count = 0;
    std::vector<MethodEntry> entries;  // empty when the table is null or cannot be read

    bool operator==(const MethodTable&) const = default;
};

struct Record {
    const ZEVAclassDefinition* address = nullptr;
    bool isReadable = false;  // whether the record and everything that it points to can be read
    std::string problem;      // why the record cannot be read; empty otherwise
    std::optional<std::string> className;
    std::optional<std::string> superclassName;
    ZEVAclassDefinitionDownLevel words = {};     // the words of the record; its pointers may be invalid
    std::array<ZEVAword, 4> trailingWords = {};  // absent from records of version 9
    MethodTable methods;
    MethodTable sharedMethods;

    // Returns the class's name for messages.
    [[nodiscard]] std::string Name() const { return className.value_or("a class without a name"); }
};

// Copies a record in the layout that its version names.
[[nodiscard]] Record ReadRecord(const ZEVAclassDefinition* definition);

// Whether two copies of one record agree in everything that the host uses.
[[nodiscard]] bool Agree(const Record& before, const Record& after);

}  // namespace checker
