// load_module.cpp - loads a module and hands it the services.
//
// This part of the Host is a file of its own, above the services: they use the Host, and only loading uses them.

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "host/runtime/class_registry.h"
#include "host/runtime/host.h"
#include "host/runtime/module.h"
#include "host/runtime/services.h"
#include "host/runtime/trace.h"

namespace host {

const Module& Host::LoadModule(const std::filesystem::path& path, ZEVAresolver resolver) {
    const auto entryPoint = LoadEntryPoint(path);
    auto module = std::make_unique<Module>();
    module->path = path;
    const std::size_t classesBefore = classes_.All().size();
    loading_ = module.get();
    if (trace_) trace_->Begin("load " + path.string(), kToModule, {});
    if (resolver == nullptr) resolver = trace_ ? ResolveTracedService : ResolveService;
    ObjectReference raised = RaisedBy([&] { entryPoint(resolver); });
    if (trace_) trace_->End(OutcomeJson(raised));
    loading_ = nullptr;
    module->classes.assign(classes_.All().begin() + static_cast<std::ptrdiff_t>(classesBefore), classes_.All().end());
    modules_.push_back(std::move(module));
    Throw(std::move(raised));
    return *modules_.back();
}

void Host::NoteAnnouncedVersion(std::int32_t version) {
    if (loading_ == nullptr) return Report("RegisterPluginVersion: no module is being loaded; the call is ignored");
    if (version < kOldestRecordVersion || version > kNewestRecordVersion) {
        Report("module " + loading_->path.string() + ": it announces record version " + std::to_string(version) +
               ", but this host reads " + std::to_string(kOldestRecordVersion) + "..." +
               std::to_string(kNewestRecordVersion));
    }
    loading_->announcedVersion = version;
}

}  // namespace host
