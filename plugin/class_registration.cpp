// class_registration.cpp - registration, and the shorter layout for hosts of record version 9.

#include "plugin/class_registration.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "plugin/host_services.h"
#include "plugin/version.h"

namespace {

// The last record version with the shorter layout.
constexpr std::int32_t kDownLevelVersion = 9;

// Instance data comes in steps of this many bytes.
constexpr ZEVAword kDataSizeStep = 16;

// A new table with the leading part of every entry; null for a null or empty table, for one whose size no 32-bit host
// can address, and when there is no memory.
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

// The same, typed as the field of the record that will hold it.
template <typename Entry>
Entry* DownLevelTable(const Entry* table, ZEVAword count) {
    return reinterpret_cast<Entry*>(Shortened(table, static_cast<std::int32_t>(count)));
}

// Like DownLevelTable; in addition each source entry learns where its copy is, in its second word. This is the only
// conversion that writes into the module's own table, and old hosts count on it.
ZEVApair* DownLevelPairs(ZEVApair* table, ZEVAword count) {
    auto* shortened = Shortened(table, static_cast<std::int32_t>(count));
    if (shortened == nullptr) return nullptr;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(count); ++i) {
        table[i].entry.hostWords[1] = reinterpret_cast<ZEVAword>(&shortened[i]);
    }
    return reinterpret_cast<ZEVApair*>(shortened);
}

// Rewrites the leading part of a record into the down-level layout; false when there is no memory to do it in.
bool RewriteDownLevel(ZEVAclassDefinitionDownLevel* record) {
    auto* block = static_cast<ZEVAclassDefinitionDownLevel*>(std::calloc(1, sizeof(ZEVAclassDefinitionDownLevel)));
    if (block == nullptr) return false;
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
    std::free(block);
    return true;
}

}  // namespace

void MyZEVARegisterClass(ZEVAclassDefinition* definition) {
    ZEVAclassDefinitionDownLevel& record = definition->record;
    record.instanceDataSize = (record.instanceDataSize + kDataSizeStep - 1) / kDataSizeStep * kDataSizeStep;
    if (CurrentZEVAControlVersion > kDownLevelVersion) {
        record.version = CurrentZEVAControlVersion;
    } else if (!RewriteDownLevel(&record)) {
        return;
    }
    ZEVARegisterClass(definition);
}

ZEVAproperty* FixProperties(ZEVAproperty* table, int count) { return DownLevelTable(table, count); }
