// class.h - a registered class: what the host keeps of a class record.
//
// A record is read once, when it is registered. Its tables may be those of record version 9, whose method entries are
// shorter. What cannot be used is refused entry by entry, with a message; the rest of the class stays.
//
// Lifetime: the Host's. The record's functions and texts stay the module's, which is never unloaded.
// Threads:  the host's thread.

#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/call.h"
#include "host/runtime/declaration.h"
#include "interface/class_definition.h"

namespace host {

// Told whatever somebody should read, one line each.
using Report = std::function<void(const std::string& message)>;

// A property, method or constructor of a class.
struct Member {
    Declaration declaration;
    ZEVAentry function;          // the getter of a property
    ZEVAentry setter;            // null: read-only, or no property
    CallInterface interface;     // of the function
    CallInterface setInterface;  // of the setter
};

class Class {
  public:
    using Function = void (*)(ZEVAobjectStruct*);

    // Reads a record, which has a name; reports what it refuses of it.
    Class(const ZEVAclassDefinitionDownLevel& record, const Report& report);

    const std::string& Name() const { return name_; }

    // The record version in which the class came.
    int RecordVersion() const { return recordVersion_; }

    // Empty: the class has no superclass.
    const std::string& SuperclassName() const { return superclassName_; }

    // Null until the class is linked, and for a class that has none.
    const Class* Superclass() const { return superclass_; }

    // Whether the chain of superclasses is complete; only then can there be objects.
    bool IsLinked() const { return isLinked_; }

    // Completes the class with its linked superclass, null for none.
    void Link(const Class* superclass);

    // How many bytes of data an object has, superclasses included. Of a linked class.
    std::size_t DataSize() const { return dataSize_; }

    // Whether this class is the named one or descends from it.
    bool IsA(std::string_view name) const;

    // The record's functions for a new object and for one about to go; null for none.
    Function InitializeFunction() const { return initialize_; }
    Function FinalizeFunction() const { return finalize_; }

    // What the class itself declares, in the order of its record.
    const std::vector<Member>& Members() const { return members_; }
    const std::vector<Member>& SharedMembers() const { return sharedMembers_; }

    // A property or method by name, a constructor by the number of its parameters, here or in a superclass; null for
    // none.
    const Member* FindMember(std::string_view name) const;
    const Member* FindConstructor(std::size_t parameterCount) const;

    // A member that is called on the class, without an object, here or in a superclass; null for none.
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
