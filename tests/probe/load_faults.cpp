// load_faults.cpp - hosts that find wrong services, or misread records.

#include <dlfcn.h>
#include <strings.h>

#include <cstddef>
#include <cstring>
#include <string_view>

#include "host/runtime/services.h"
#include "tests/probe/faults.h"
#include "tests/probe/faulty_host.h"

namespace faulty {

namespace {

// ---- Loading

// Finds the first service for which `matches` is true of the service's name and the name that is asked for.
template <typename Matches>
void ResolveLike(Matches matches) {
    replacedResolver = [=](const char* name) {
        for (const host::Service& service : host::Services()) {
            if (matches(std::string_view(service.name), std::string_view(name))) return FindService(service.name);
        }
        return FindService(name);
    };
}

void Lack(const char* missing) {
    replacedResolver = [=](const char* name) { return std::strcmp(name, missing) != 0 ? FindService(name) : nullptr; };
}

// ---- Records

// Keeps a record from the host when `isRefused` is true of it.
template <typename IsRefused>
void Refuse(IsRefused isRefused) {
    Replace<service::PluginRegisterClass>([=](ZEVAclassDefinition* definition) {
        if (!isRefused(definition->record)) Real<service::PluginRegisterClass>(definition);
    });
}

// Reads the table of ProbeTableQOR by entries of `step` words where it has entries of `words` words.
void MisreadTable(std::size_t words, std::size_t step) {
    ChangeRecord("ProbeTableQOR", [=](Record& record) {
        const auto count = static_cast<std::size_t>(record.definition.methodCount);
        const auto* table = reinterpret_cast<const ZEVAword*>(record.definition.methods);
        auto* entries = new ZEVAmethodDownLevel[count]();
        constexpr std::size_t kRead = sizeof(ZEVAmethodDownLevel) / sizeof(ZEVAword);
        for (std::size_t i = 0; i < count && i * step + kRead <= count * words; ++i) {
            std::memcpy(&entries[i], table + i * step, sizeof entries[i]);
        }
        record.definition.version = kDownLevelRecordVersion;
        record.definition.methods = reinterpret_cast<ZEVAmethod*>(entries);
    });
}

const Fault faults[] = {
    {"load.called-once", [] {}},  // by the test
    {"load.can-announce", [] { Lack("RegisterPluginVersion"); }},
    {"load.other-names",
     [] {
         replacedResolver = [](const char* name) {
             const ZEVAentry found = FindService(name);
             return found != nullptr ? found : reinterpret_cast<ZEVAentry>(dlsym(RTLD_DEFAULT, name));
         };
     }},
    {"load.empty-name", [] { ResolveLike([](auto, auto name) { return name.empty(); }); }},
    {"load.whole-names",
     [] {
         ResolveLike([](auto known, auto name) {
             return !name.empty() && (known.starts_with(name) || name.starts_with(known));
         });
     }},
    {"load.letter-case",
     [] { ResolveLike([](auto known, auto name) { return strcasecmp(known.data(), name.data()) == 0; }); }},
    {"load.late-names",
     [] { replacedResolver = [](const char* name) { return isLoaded ? nullptr : FindService(name); }; }},
    {"load.late-version",
     [] { Replace<service::ZEVAGetZVVersion>([] { return kNewestHostVersion + (isLoaded ? 1 : 0); }); }},

    {"records.registered",
     [] { Refuse([](auto& record) { return std::strcmp(record.className, "ProbeSpareQOR") == 0; }); }},
    {"records.null-functions",
     [] {
         Refuse([](auto& record) {
             return record.initialize == nullptr && record.methods == nullptr && record.superclassName == nullptr;
         });
     }},
    {"records.version-9", [] { MisreadTable(4, 6); }, 2011},
    {"records.version-10", [] { MisreadTable(6, 4); }, 2012},
    {"records.version-11", [] { MisreadTable(6, 4); }, 2013},
    {"records.version-12", [] { MisreadTable(6, 4); }},
};

}  // namespace

const std::span<const Fault> kLoadFaults = faults;

}  // namespace faulty
