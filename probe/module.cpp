// module.cpp - the probe's entry point, and the checks of what the host does while it loads a module.
//
// The probe has an entry point of its own. That of the other modules relies on the host where this one judges it.

#include <cstring>

#include "interface/services.h"
#include "plugin/class_registration.h"
#include "plugin/plugin_main.h"
#include "plugin/version.h"
#include "probe/check.h"
#include "probe/classes.h"

namespace probe {

namespace {

int loads = 0;
bool hasVersion = false;

struct FoundService {
    const char* name;
    bool isFound;
} foundServices[] = {
#define SERVICE(name, ...) {#name, false},
#include "interface/services.def"
};

// Superclasses first.
ZEVAclassDefinition* const classes[] = {&reportClass,    &spareClass,   &bareClass,   &tableClass,
                                        &baseClass,      &derivedClass, &nestClass,   &endClass,
                                        &exceptionClass, &callsClass,   &raisingClass};

void Load() {
    for (FoundService& service : foundServices) service.isFound = gResolver(service.name) != nullptr;
    auto* getVersion = service::Resolve<service::ZEVAGetZVVersion>(gResolver);
    hasVersion = getVersion != nullptr;
    if (hasVersion) zvversion = getVersion();
    CurrentZEVAControlVersion = RecordVersionFor(zvversion);
    auto* announce = service::Resolve<service::RegisterPluginVersion>(gResolver);
    if (announce != nullptr) announce(CurrentZEVAControlVersion);
    if (IsSkippedHost(zvversion)) return;
    for (ZEVAclassDefinition* each : classes) MyZEVARegisterClass(each);
}

// Fails when the host knows one of the names.
template <std::size_t kCount>
void ExpectUnknown(Finding& finding, const char* const (&names)[kCount]) {
    for (const char* name : names) {
        if (gResolver(name) != nullptr) return finding.Fail("'%s': expected null, got a function", name);
    }
}

}  // namespace

void CalledOnce(Finding& finding) {
    if (loads != 1) finding.Fail("expected one call, got %d", loads);
}

void CanAnnounce(Finding& finding) {
    const FoundService& announcing = foundServices[0];
    if (!announcing.isFound) finding.Fail("%s: expected a function, got null", announcing.name);
}

void OtherNames(Finding& finding) { ExpectUnknown(finding, {"ZEVANoSuchService", "printf", " ", "\xff"}); }

void EmptyName(Finding& finding) { ExpectUnknown(finding, {""}); }

void WholeNames(Finding& finding) {
    ExpectUnknown(finding,
                  {"PluginNewInstanc", "PluginNewInstance ", "newMemoryBlo", "ZEVALockObject.", "NewInstance"});
}

void LetterCase(Finding& finding) { ExpectUnknown(finding, {"pluginnewinstance", "NEWMEMORYBLOCK", "zEVALockObject"}); }

void LateNames(Finding& finding) {
    for (const FoundService& service : foundServices) {
        if (service.isFound && gResolver(service.name) == nullptr) {
            return finding.Fail("%s: expected a function, got null", service.name);
        }
    }
}

void LateVersion(Finding& finding) {
    if (!hasVersion) return finding.Skip("the host lacks %s", service::ZEVAGetZVVersion::kName);
    const double version = service::Resolve<service::ZEVAGetZVVersion>(gResolver)();
    if (std::memcmp(&version, &zvversion, sizeof version) != 0) {
        finding.Fail("expected %.6g as at first, got %.6g", zvversion, version);
    }
}

}  // namespace probe

void ZEVAPluginMain(ZEVAresolver resolver) {
    if (++probe::loads > 1 || resolver == nullptr) return;
    gResolver = resolver;
    probe::Load();
}
