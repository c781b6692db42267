// record.cpp - follows the pointers of a record and stops at the first one that is invalid.

#include "host/checker/record.h"

#include <cstring>

#include "host/checker/memory.h"

namespace checker {

namespace {

// More methods than any class has. A greater count is garbage.
constexpr ZEVAword kMaximumMethods = 100'000;

// Reads a table. A null table and a count below 1 give no entries. Returns false when the table cannot be read.
bool ReadTable(const ZEVAmethod* methods, ZEVAword count, bool isDownLevel, MethodTable& table, std::string& problem) {
    table.isNull = methods == nullptr;
    table.count = count;
    if (table.isNull || count <= 0) return true;
    if (count > kMaximumMethods) {
        problem = std::string("a ") + table.title + " with " + std::to_string(count) + " entries";
        return false;
    }
    const std::size_t size = isDownLevel ? sizeof(ZEVAmethodDownLevel) : sizeof(ZEVAmethod);
    const auto* bytes = reinterpret_cast<const unsigned char*>(methods);
    for (ZEVAword i = 0; i < count; ++i, bytes += size) {
        ZEVAmethod method = {};
        if (!ReadMemory(bytes, &method, size)) {
            problem = std::string("an unreadable entry ") + std::to_string(i) + " in the " + table.title;
            return false;
        }
        const char* text = method.entry.declaration;
        MethodEntry entry{method.entry.function, method.entry.setter, ReadText(text), method.entry.flags, {}};
        if (!isDownLevel) std::memcpy(entry.spareWords.data(), method.hostWords, sizeof method.hostWords);
        if (text != nullptr && !entry.declaration) {
            problem = std::string("an unreadable declaration of entry ") + std::to_string(i) + " in the " + table.title;
            return false;
        }
        table.entries.push_back(std::move(entry));
    }
    return true;
}

}  // namespace

Record ReadRecord(const ZEVAclassDefinition* definition) {
    Record record;
    record.address = definition;
    record.methods.title = "method table";
    record.sharedMethods.title = "shared method table";
    const auto words = ReadAt<ZEVAclassDefinitionDownLevel>(definition);
    if (!words) {
        record.problem = "an unreadable record";
        return record;
    }
    record.words = *words;
    const bool isDownLevel = words->version == kDownLevelRecordVersion;
    if (!isDownLevel &&
        !ReadMemory(definition->hostWords25, record.trailingWords.data(), sizeof record.trailingWords)) {
        record.problem = "unreadable words at the end of the record";
        return record;
    }
    record.className = ReadText(words->className);
    record.superclassName = ReadText(words->superclassName);
    if ((words->className != nullptr && !record.className) ||
        (words->superclassName != nullptr && !record.superclassName)) {
        record.problem = "an unreadable name of the class or its superclass";
        return record;
    }
    record.isReadable =
        ReadTable(words->methods, words->methodCount, isDownLevel, record.methods, record.problem) &&
        ReadTable(words->sharedMethods, words->sharedMethodCount, isDownLevel, record.sharedMethods, record.problem);
    return record;
}

bool Agree(const Record& before, const Record& after) {
    return before.isReadable == after.isReadable && before.className == after.className &&
           before.superclassName == after.superclassName &&
           std::memcmp(&before.words, &after.words, sizeof before.words) == 0 && before.methods == after.methods &&
           before.sharedMethods == after.sharedMethods;
}

}  // namespace checker
