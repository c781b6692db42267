// handles.h - the library's handles of classes and members: their public facts and what they stand for.
//
// Lifetime: made on first use and kept as long as the host's classes. Threads: under the session's lock.

#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/description/names.h"
#include "host/runtime/class.h"
#include "host/runtime/host.h"
#include "zeva/host.h"

namespace host::library {

struct MemberHandle : ZevaMember {
    const Member* member;
    const Class* declaring;
    std::string shortNameText;
    std::vector<std::string> parameterNames;
    std::vector<ZevaParameter> parameterList;
};

struct ClassHandle : ZevaClass {
    const Class* isaClass;
    std::string shortNameText;
    std::string titleText;
    std::vector<std::unique_ptr<MemberHandle>> memberHandles;
    std::vector<const ZevaMember*> memberList;
};

class Handles {
  public:
    // The handle of a class. Links the class if its superclasses are registered.
    const ClassHandle& Of(Host& host, const Class& isa);

    // The handle of a member of a class.
    const MemberHandle& Of(Host& host, const DeclaredMember& member);

    // Forgets all handles.
    void Clear() { classes_.clear(); }

  private:
    std::map<const Class*, std::unique_ptr<ClassHandle>> classes_;
};

// What a handle stands for.
[[nodiscard]] inline const ClassHandle& HandleOf(const ZevaClass* isa) { return *static_cast<const ClassHandle*>(isa); }
[[nodiscard]] inline const MemberHandle& HandleOf(const ZevaMember* member) {
    return *static_cast<const MemberHandle*>(member);
}

}  // namespace host::library
