// class_registry.cpp - registers, finds and links classes.

#include "host/runtime/class_registry.h"

#include <algorithm>

#include "host/runtime/errors.h"
#include "host/runtime/suggestion.h"

namespace host {

void ClassRegistry::Register(const ZEVAclassDefinitionDownLevel* record) {
    if (record == nullptr) return report_("class record: it is null; no class is registered");
    const bool hasName = record->className != nullptr && record->className[0] != '\0';
    if (!hasName) return report_("class record: it has no class name; no class is registered");
    const std::string name = record->className;
    const auto refuse = [&](const std::string& problem) { report_(name + ": " + problem + "; the class is refused"); };
    if (record->version < kOldestRecordVersion || record->version > kNewestRecordVersion) {
        return refuse("record version " + std::to_string(record->version) + " is outside " +
                      std::to_string(kOldestRecordVersion) + "..." + std::to_string(kNewestRecordVersion));
    }
    if (record->instanceDataSize < 0) {
        return refuse("instance data size " + std::to_string(record->instanceDataSize) + " is negative");
    }
    if (classes_.contains(name)) return refuse("a class with this name is already registered");
    auto& added = classes_[name] = std::make_unique<Class>(*record, report_);
    order_.push_back(added.get());
}

const Class* ClassRegistry::Find(std::string_view name) const {
    const auto found = classes_.find(name);
    return found != classes_.end() ? found->second.get() : nullptr;
}

Class& ClassRegistry::Existing(std::string_view name) {
    const auto found = classes_.find(name);
    if (found != classes_.end()) return *found->second;
    std::vector<std::string> known;
    for (const Class* each : order_) known.push_back(each->Name());
    throw HostError("class " + std::string(name), "it is not registered" + Suggestion(name, known));
}

const Class& ClassRegistry::Linked(std::string_view name) {
    // The classes that are not linked yet, from the requested one upward. The superclass of the last one is linked or
    // does not exist.
    std::vector<Class*> chain;
    Class* superclass = &Existing(name);
    while (superclass != nullptr && !superclass->IsLinked()) {
        if (std::find(chain.begin(), chain.end(), superclass) != chain.end()) {
            throw HostError(std::string(name),
                            "its superclasses lead back to " + superclass->Name() + "; it cannot have objects");
        }
        chain.push_back(superclass);
        const std::string& above = superclass->SuperclassName();
        if (above.empty()) {
            superclass = nullptr;
            continue;
        }
        const auto found = classes_.find(above);
        if (found == classes_.end()) {
            throw HostError(superclass->Name(),
                            "its superclass " + above + " is not registered; it cannot have objects");
        }
        superclass = found->second.get();
    }
    for (auto each = chain.rbegin(); each != chain.rend(); ++each) {
        (*each)->Link(superclass);
        superclass = *each;
    }
    return *classes_.find(name)->second;
}

}  // namespace host
