// class_registry.h - the classes that modules have registered, by name.
//
// A record is accepted or refused when it is registered. Its superclass is looked up later, when the first object is
// made or the first shared member is used, so modules can be loaded in any order.
//
// Lifetime: owned by the Host; a class is never removed. Threads: the host's thread.

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
    // Messages about refused records and entries go to `report`, which must outlive the registry.
    explicit ClassRegistry(const Report& report) : report_(report) {}

    // Registers a class. A record without a name, of another version, with a negative data size or with the name of a
    // registered class is refused with a message. Keeps no pointer to the record itself.
    void Register(const ZEVAclassDefinitionDownLevel* record);

    // The class with this name, or null. Its superclass may not be registered yet.
    const Class* Find(std::string_view name) const;

    // The class with this name, linked. Throws HostError when the class or a superclass is not registered, or when the
    // chain of superclasses is circular.
    const Class& Linked(std::string_view name);

    // All classes in the order of their registration.
    const std::vector<const Class*>& All() const { return order_; }

  private:
    Class& Existing(std::string_view name);

    const Report& report_;
    std::map<std::string, std::unique_ptr<Class>, std::less<>> classes_;
    std::vector<const Class*> order_;
};

}  // namespace host
