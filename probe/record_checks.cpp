// record_checks.cpp - whether the host reads class records as they are laid out.

#include <cstdint>

#include "plugin/host_services.h"
#include "plugin/version.h"
#include "probe/check.h"
#include "probe/classes.h"
#include "probe/held.h"

namespace probe {

namespace {

constexpr const char* kEntries[] = {"First", "Second", "Third", "Fourth", "Fifth"};
std::int32_t entryNumbers[std::size(kEntries)];

template <int kIndex>
std::int32_t GetEntry(ZEVAobjectStruct*) {
    return entryNumbers[kIndex];
}

template <int kIndex>
void SetEntry(ZEVAobjectStruct*, std::int32_t number) {
    entryNumbers[kIndex] = number;
}

ZEVAmethod tableMethods[] = {
    PROBE_PROPERTY("First as integer", GetEntry<0>, SetEntry<0>),
    PROBE_PROPERTY("Second as integer", GetEntry<1>, SetEntry<1>),
    PROBE_PROPERTY("Third as integer", GetEntry<2>, SetEntry<2>),
    PROBE_PROPERTY("Fourth as integer", GetEntry<3>, SetEntry<3>),
    PROBE_PROPERTY("Fifth as integer", GetEntry<4>, SetEntry<4>),
};
static_assert(std::size(tableMethods) == std::size(kEntries));

// Judges the layout by the properties of tableClass: each setter must be found under its own name.
void JudgeLayout(Finding& finding, std::int32_t version) {
    if (CurrentZEVAControlVersion != version) {
        return finding.Skip("this host reads record version %d", CurrentZEVAControlVersion);
    }
    const Object object("ProbeTableQOR");
    if (!object) return finding.Fail("ProbeTableQOR: expected an object, got null");
    std::int32_t next = 100;
    for (const char* name : kEntries) object.SetNumber(name, next++);
    for (std::size_t i = 0; i < std::size(kEntries); ++i) {
        const auto expected = static_cast<std::int32_t>(100 + i);
        if (entryNumbers[i] != expected) {
            return finding.Fail("property %s: expected its setter to get %d, got %d", kEntries[i], expected,
                                entryNumbers[i]);
        }
    }
}

// Does nothing: the functions of a class that has them.
void DoNothing(ZEVAobjectStruct*) {}

}  // namespace

ZEVAclassDefinition spareClass = {.record = {.version = kRecordVersion,
                                             .className = "ProbeSpareQOR",
                                             .initialize = DoNothing,
                                             .finalize = DoNothing,
                                             .flags = kHostFlags}};

ZEVAclassDefinition bareClass = {
    .record = {.version = kRecordVersion, .className = "ProbeBareQOR", .flags = kHostFlags}};

ZEVAclassDefinition tableClass = {.record = {.version = kRecordVersion,
                                             .className = "ProbeTableQOR",
                                             .methods = tableMethods,
                                             .methodCount = std::size(tableMethods),
                                             .flags = kHostFlags}};

void Registered(Finding& finding) {
    if (finding.Lacks<service::PluginRegisterClass, service::PluginNewInstance, service::ZEVAUnlockObject>()) return;
    constexpr const char* kNames[] = {"ProbeSpareQOR", "ProbeTableQOR", "ProbeBaseQOR", "ProbeDerivedQOR",
                                      "ProbeNestQOR"};
    for (const char* name : kNames) {
        if (!Object(name)) return finding.Fail("%s: expected an object, got null", name);
    }
}

void NullFunctions(Finding& finding) {
    if (!Object("ProbeBareQOR")) finding.Fail("ProbeBareQOR: expected an object, got null");
}

void Version9(Finding& finding) { JudgeLayout(finding, 9); }
void Version10(Finding& finding) { JudgeLayout(finding, 10); }
void Version11(Finding& finding) { JudgeLayout(finding, 11); }
void Version12(Finding& finding) { JudgeLayout(finding, 12); }

}  // namespace probe
