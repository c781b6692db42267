// class.cpp - reads class records and looks up members.

#include "host/runtime/class.h"

#include <utility>

namespace host {

namespace {

// One method table of a record, in either layout.
struct MethodTable {
    const char* title;  // for messages
    const ZEVAmethod* entries;
    ZEVAword count;
    ZEVAword recordVersion;
    bool hasReceiver;

    const ZEVAmethodDownLevel& operator[](ZEVAword i) const {
        if (recordVersion > kDownLevelRecordVersion) return entries[i].entry;
        return reinterpret_cast<const ZEVAmethodDownLevel*>(entries)[i];
    }
};

// Whether two members of one class have the same name and, for constructors, as many parameters.
bool Collide(const Declaration& first, const Declaration& second) {
    if (first.name != second.name) return false;
    return first.kind != MemberKind::kConstructor || first.parameters.size() == second.parameters.size();
}

// Reads the members of one class from its tables.
class MemberReader {
  public:
    MemberReader(const std::string& className, const Report& report) : className_(className), report_(report) {}

    std::vector<Member> Read(const MethodTable& table) {
        std::vector<Member> members;
        if (table.count == 0) return members;
        if (table.count < 0 || table.entries == nullptr) {
            report_(className_ + ": " + table.title + " with count " + std::to_string(table.count) +
                    (table.entries == nullptr ? " is null" : "") + "; none of its entries is registered");
            return members;
        }
        members.reserve(static_cast<std::size_t>(table.count));
        for (ZEVAword i = 0; i < table.count; ++i) ReadEntry(table, i, members);
        return members;
    }

  private:
    void ReadEntry(const MethodTable& table, ZEVAword i, std::vector<Member>& members) {
        const ZEVAmethodDownLevel& entry = table[i];
        const auto refuse = [&](const std::string& problem) {
            const std::string text = entry.declaration != nullptr ? " \"" + std::string(entry.declaration) + "\"" : "";
            report_(className_ + ": " + table.title + " entry " + std::to_string(i) + text + ": " + problem +
                    "; the entry is refused");
        };
        if (entry.declaration == nullptr) return refuse("the declaration is null");
        if (entry.function == nullptr) return refuse("the function is null");
        Declaration declaration;
        try {
            declaration = ParseDeclaration(entry.declaration);
        } catch (const DeclarationError& error) {
            return refuse(error.what());
        }
        const bool isProperty = declaration.kind == MemberKind::kProperty;
        if (!isProperty && entry.setter != nullptr) return refuse("it has a setter but does not declare a property");
        if (!table.hasReceiver && declaration.kind == MemberKind::kConstructor) {
            return refuse("a constructor needs an object");
        }
        for (const Member& member : members) {
            if (Collide(member.declaration, declaration)) return refuse("declared twice");
        }
        CallInterface interface(table.hasReceiver, declaration.parameters, declaration.result);
        CallInterface setInterface(table.hasReceiver, {{declaration.name, declaration.result}}, Type());
        members.push_back(
            {std::move(declaration), entry.function, entry.setter, std::move(interface), std::move(setInterface)});
    }

    const std::string& className_;
    const Report& report_;
};

const Member* FindIn(const std::vector<Member>& members, std::string_view name) {
    for (const Member& member : members) {
        if (member.declaration.name == name && member.declaration.kind != MemberKind::kConstructor) return &member;
    }
    return nullptr;
}

}  // namespace

Class::Class(const ZEVAclassDefinitionDownLevel& record, const Report& report)
    : name_(record.className),
      superclassName_(record.superclassName != nullptr ? record.superclassName : ""),
      recordVersion_(static_cast<int>(record.version)),
      ownDataSize_(static_cast<std::size_t>(record.instanceDataSize)),
      initialize_(record.initialize),
      finalize_(record.finalize) {
    if (record.propertyCount != 0 || record.sharedPropertyCount != 0) {
        report(name_ + ": its property tables (" + std::to_string(record.propertyCount) + " and " +
               std::to_string(record.sharedPropertyCount) +
               " entries) are ignored; this host reads properties from method entries only");
    }
    MemberReader reader(name_, report);
    members_ = reader.Read({"method table", record.methods, record.methodCount, record.version, true});
    sharedMembers_ =
        reader.Read({"shared method table", record.sharedMethods, record.sharedMethodCount, record.version, false});
}

void Class::Link(const Class* superclass) {
    superclass_ = superclass;
    dataSize_ = ownDataSize_ + (superclass != nullptr ? superclass->dataSize_ : 0);
    isLinked_ = true;
}

bool Class::IsA(std::string_view name) const {
    for (const Class* each = this; each != nullptr; each = each->superclass_) {
        if (each->name_ == name) return true;
    }
    return false;
}

const Member* Class::FindMember(std::string_view name) const {
    for (const Class* each = this; each != nullptr; each = each->superclass_) {
        if (const Member* member = FindIn(each->members_, name)) return member;
    }
    return nullptr;
}

const Member* Class::FindConstructor(std::size_t parameterCount) const {
    for (const Class* each = this; each != nullptr; each = each->superclass_) {
        for (const Member& member : each->members_) {
            const Declaration& declaration = member.declaration;
            const bool isConstructor = declaration.kind == MemberKind::kConstructor;
            if (isConstructor && declaration.parameters.size() == parameterCount) return &member;
        }
    }
    return nullptr;
}

const Member* Class::FindSharedMember(std::string_view name) const {
    for (const Class* each = this; each != nullptr; each = each->superclass_) {
        if (const Member* member = FindIn(each->sharedMembers_, name)) return member;
    }
    return nullptr;
}

}  // namespace host
