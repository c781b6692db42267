// class_registration.cpp - registers classes, and rewrites their records for hosts of record version 9.

#include "plugin/class_registration.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "interface/record_version.h"
#include "interface/word.h"
#include "plugin/host_services.h"
#include "plugin/version.h"

namespace {

// A new table with the down-level part of each entry. Null for a null or empty table, for one whose size does not
// fit in a signed 32-bit number, and when there is no memory.
template <typename Entry>
decltype(Entry::entry)* Shortened(const Entry* table, std::int32_t count) {
    using DownLevelEntry = decltype(Entry::entry);
    if (table == nullptr || count == 0) return nullptr;
    const std::int64_t size = std::int64_t{count} * std::int64_t{sizeof(DownLevelEntry)};
    if (size < 1 || size > std::numeric_limits<std::int32_t>::max()) return nullptr;
    auto* shortened = static_cast<DownLevelEntry*>(std::calloc(static_cast<std::size_t>(size), 1));
    if (shortened == nullptr) return nullptr;
    for (std::int32_t i = 0; i < count; ++i) shortened[i] = table[i].entry;
    return shortened;
}

// Like Shortened, typed as the field of the record that will point to the table.
template <typename Entry>
Entry* DownLevelTable(const Entry* table, ZEVAword count) {
    return reinterpret_cast<Entry*>(Shortened(table, static_cast<std::int32_t>(count)));
}

// Like DownLevelTable, and stores the address of each copy in the second word of its source entry. This is the only
// conversion that writes into the module's own table; old hosts rely on it.
ZEVApair* DownLevelPairs(ZEVApair* table, ZEVAword count) {
    auto* shortened = Shortened(table, static_cast<std::int32_t>(count));
    if (shortened == nullptr) return nullptr;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(count); ++i) {
        table[i].entry.hostWords[1] = reinterpret_cast<ZEVAword>(&shortened[i]);
    }
    return reinterpret_cast<ZEVApair*>(shortened);
}

// Rewrites a record into the down-level layout. Returns the temporary copy that the new layout was built in, which the
// caller frees; null, with the record unchanged, when there is no memory for it.
ZEVAclassDefinitionDownLevel* RewriteDownLevel(ZEVAclassDefinitionDownLevel* record) {
    auto* block = static_cast<ZEVAclassDefinitionDownLevel*>(std::calloc(1, sizeof(ZEVAclassDefinitionDownLevel)));
    if (block == nullptr) return nullptr;
    *block = *record;
    block->version = CurrentZEVAControlVersion;
    block->properties = FixProperties(record->properties, static_cast<int>(record->propertyCount));
    block->methods = DownLevelTable(record->methods, record->methodCount);
    block->pairs = DownLevelPairs(record->pairs, record->pairCount);
    block->hostWords16[0] = 0;
    block->hostWords16[1] = 0;
    block->triples = DownLevelTable(record->triples, record->tripleCount);
    block->sharedMethods = DownLevelTable(record->sharedMethods, record->sharedMethodCount);
    block->sharedProperties = FixProperties(record->sharedProperties, static_cast<int>(record->sharedPropertyCount));
    *record = *block;
    return block;
}

// The size rounded up to a whole number of steps. Unsigned, so that no size overflows: one that is negative as a signed
// number is rounded like any other.
ZEVAword RoundedUp(ZEVAword size) {
    constexpr auto kRest = static_cast<std::uintptr_t>(kDataSizeStep - 1);
    return static_cast<ZEVAword>((static_cast<std::uintptr_t>(size) + kRest) & ~kRest);
}

}  // namespace

void MyZEVARegisterClass(ZEVAclassDefinition* definition) {
    ZEVAclassDefinitionDownLevel& record = definition->record;
    record.instanceDataSize = RoundedUp(record.instanceDataSize);
    if (CurrentZEVAControlVersion > kDownLevelRecordVersion) {
        record.version = CurrentZEVAControlVersion;
        return ZEVARegisterClass(definition);
    }
    ZEVAclassDefinitionDownLevel* block = RewriteDownLevel(&record);
    if (block == nullptr) return;
    ZEVARegisterClass(definition);
    std::free(block);
}

ZEVAproperty* FixProperties(ZEVAproperty* table, int count) { return DownLevelTable(table, count); }
