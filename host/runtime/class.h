// class.h - a registered class: the host's copy of what a class record says.
//
// A record is read once, when it is registered. Tables of record version 9 have shorter method entries. An unusable
// entry is refused with a message; the rest of the class remains.
//
// Lifetime: owned by the Host. The functions and texts of the record remain the module's, which is never unloaded.
// Threads:  the host's thread.

#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/call.h"
#include "host/runtime/declaration.h"
#include "interface/class_definition.h"

namespace host {

// Receives the host's messages, one line each.
using Report = std::function<void(const std::string& message)>;

// A property, method or constructor of a class.
struct Member {
    Declaration declaration;
    ZEVAentry function;          // the getter of a property
    ZEVAentry setter;            // null for a read-only property and for anything but a property
    CallInterface interface;     // of the function
    CallInterface setInterface;  // of the setter
};

class Class {
  public:
    using Function = void (*)(ZEVAobjectStruct*);

    // Reads a record, which must have a name. Reports each entry that it refuses.
    Class(const ZEVAclassDefinitionDownLevel& record, const Report& report);

    const std::string& Name() const { return name_; }

    // The version of the class's record.
    int RecordVersion() const { return recordVersion_; }

    // Empty if the class has no superclass.
    const std::string& SuperclassName() const { return superclassName_; }

    // Null until the class is linked, and for a class without a superclass.
    const Class* Superclass() const { return superclass_; }

    // Whether the chain of superclasses is complete. Objects can only be made of a linked class.
    bool IsLinked() const { return isLinked_; }

    // Completes the class with its linked superclass, or null if it has none.
    void Link(const Class* superclass);

    // The size of an object's data in bytes, superclasses included. The class must be linked.
    std::size_t DataSize() const { return dataSize_; }

    // Whether this class is the named one or descends from it.
    bool IsA(std::string_view name) const;

    // The record's functions for a new object and for one about to be destroyed; null if it has none.
    Function InitializeFunction() const { return initialize_; }
    Function FinalizeFunction() const { return finalize_; }

    // The members that the class itself declares, in the order of its record.
    const std::vector<Member>& Members() const { return members_; }
    const std::vector<Member>& SharedMembers() const { return sharedMembers_; }

    // Finds a property or method by its name, or a constructor by the number of its parameters, in this class and then
    // in its superclasses. Returns null if there is none.
    const Member* FindMember(std::string_view name) const;
    const Member* FindConstructor(std::size_t parameterCount) const;

    // Finds a member that is called on the class, without an object, in this class and then in its superclasses.
    // Returns null if there is none.
    const Member* FindSharedMember(std::string_view name) const;

  private:
    std::string name_;
    std::string superclassName_;
    int recordVersion_;
    std::size_t ownDataSize_;
    std::size_t dataSize_ = 0;
    const Class* superclass_ = nullptr;
    bool isLinked_ = false;
    Function initialize_;
    Function finalize_;
    std::vector<Member> members_;
    std::vector<Member> sharedMembers_;
};

}  // namespace host
