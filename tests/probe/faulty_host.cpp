// faulty_host.cpp - the services with their replacements, and the records before the host gets them.

#include "tests/probe/faulty_host.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace faulty {

namespace {

bool IsNull(const void* handle) { return handle == nullptr; }
bool IsNull(std::int32_t) { return false; }
bool IsNull(std::uint32_t) { return false; }

template <typename Listed, typename Signature = typename Listed::Signature>
struct Replaceable;
template <typename Listed, typename Result, typename... Arguments>
struct Replaceable<Listed, Result(Arguments...)> {
    static Result Call(Arguments... arguments) {
        constexpr bool kMayBeNull = std::is_same_v<Listed, service::ZEVASetPropValueString>;
        int nulls = 0;
        ((nulls += IsNull(arguments) ? 1 : 0), ...);
        if (nulls > 0 && !kMayBeNull) calledWithNull.insert(Listed::kName);
        if (failing == Listed::kName && --callsBeforeFailing < 0) return Result();
        if (replacement<Listed>) return replacement<Listed>(arguments...);
        return Real<Listed>(arguments...);
    }
};

// A copy that lives as long as the process, because the host keeps pointers into it.
ZEVAmethod* CopyOf(const ZEVAmethod* table, ZEVAword count) {
    auto* copy = new ZEVAmethod[static_cast<std::size_t>(count)];
    std::copy_n(table, count, copy);
    return copy;
}

}  // namespace

ZEVAentry FindService(const char* name) {
#define SERVICE(listed, ...)                            \
    if (std::strcmp(name, service::listed::kName) == 0) \
        return reinterpret_cast<ZEVAentry>(&Replaceable<service::listed>::Call);
#include "interface/services.def"
    return nullptr;
}

ZEVAentry Resolve(const char* name) { return replacedResolver ? replacedResolver(name) : FindService(name); }

Record::Record(const ZEVAclassDefinitionDownLevel& record) : definition(*new ZEVAclassDefinitionDownLevel(record)) {
    if (record.version == kDownLevelRecordVersion) return;
    definition.methods = CopyOf(record.methods, record.methodCount);
    definition.sharedMethods = CopyOf(record.sharedMethods, record.sharedMethodCount);
}

ZEVAmethodDownLevel& Record::Entry(std::string_view declaration) {
    for (const auto& [table, count] : {std::pair(definition.methods, definition.methodCount),
                                       std::pair(definition.sharedMethods, definition.sharedMethodCount)}) {
        for (ZEVAmethod& method : std::span(table, static_cast<std::size_t>(count))) {
            if (std::string_view(method.entry.declaration).starts_with(declaration)) return method.entry;
        }
    }
    throw std::out_of_range("no member " + std::string(declaration));
}

void ChangeRecord(const char* className, std::function<void(Record&)> change) {
    auto next = replacement<service::PluginRegisterClass>;
    if (!next) next = Real<service::PluginRegisterClass, ZEVAclassDefinition*>;
    Replace<service::PluginRegisterClass>([=](ZEVAclassDefinition* definition) {
        if (std::strcmp(definition->record.className, className) != 0) return next(definition);
        Record record(definition->record);
        change(record);
        next(reinterpret_cast<ZEVAclassDefinition*>(&record.definition));
    });
}

}  // namespace faulty
