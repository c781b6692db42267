// class_registry.h - the classes that modules have registered, by name.
//
// A record is taken or refused when it comes; its superclass is looked for only when the first object is made or the
// first shared method is called, so modules may be loaded in any order.
//
// Lifetime: the Host's; a class is never removed. Threads: the host's thread.

#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/class.h"
#include "interface/record_version.h"

namespace host {

class ClassRegistry {
  public:
    // Messages about refused records and entries go to report, which lives as long as the registry.
    explicit ClassRegistry(const Report& report) : report_(report) {}

    // Takes a class record. A record without name, of another version, with a negative data size or of a name that is
    // taken is refused with a message. Keeps nothing of the record itself.
    void Register(const ZEVAclassDefinitionDownLevel* record);

    // The class of a name; null when there is none. Its superclass may not have come yet.
    const Class* Find(std::string_view name) const;

    // The class of a name, linked; throws HostError when it or a superclass is not registered, or the chain is a
    // circle.
    const Class& Linked(std::string_view name);

    // All classes, in the order in which they were registered.
    const std::vector<const Class*>& All() const { return order_; }

  private:
    Class& Existing(std::string_view name);

    const Report& report_;
    std::map<std::string, std::unique_ptr<Class>, std::less<>> classes_;
    std::vector<const Class*> order_;
};

}  // namespace host
