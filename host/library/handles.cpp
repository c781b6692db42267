// handles.cpp - reads the facts of classes and members.

#include "host/library/handles.h"

#include <algorithm>

#include "host/runtime/errors.h"

namespace host::library {

namespace {

ZevaKind KindOf(TypeKind kind) {
    switch (kind) {
        case TypeKind::kNone:
            break;
        case TypeKind::kDouble:
            return kZevaNumber;
        case TypeKind::kInteger:
            return kZevaInteger;
        case TypeKind::kBoolean:
            return kZevaBoolean;
        case TypeKind::kString:
            return kZevaText;
        case TypeKind::kObject:
            return kZevaObject;
    }
    return kZevaNil;
}

ZevaMemberKind KindOf(MemberKind kind) {
    switch (kind) {
        case MemberKind::kProperty:
            break;
        case MemberKind::kMethod:
            return kZevaMethod;
        case MemberKind::kConstructor:
            return kZevaConstructor;
    }
    return kZevaProperty;
}

ZevaType TypeOf(const Type& type) { return {KindOf(type.kind), type.word.c_str(), type.className.c_str()}; }

std::unique_ptr<MemberHandle> NewMember(const ClassHandle& isa, const Member& member, bool isShared) {
    const Declaration& declaration = member.declaration;
    auto handle = std::make_unique<MemberHandle>();
    handle->member = &member;
    handle->declaring = isa.isaClass;
    handle->shortNameText = MemberShortName(declaration.name);
    for (const Parameter& parameter : declaration.parameters) {
        handle->parameterNames.push_back(MemberShortName(parameter.name));
    }
    for (std::size_t i = 0; i < declaration.parameters.size(); ++i) {
        const Parameter& parameter = declaration.parameters[i];
        handle->parameterList.push_back(
            {parameter.name.c_str(), handle->parameterNames[i].c_str(), TypeOf(parameter.type)});
    }
    handle->isa = &isa;
    handle->name = declaration.name.c_str();
    handle->shortName = handle->shortNameText.c_str();
    handle->kind = KindOf(declaration.kind);
    handle->isShared = isShared ? 1 : 0;
    handle->isReadOnly = declaration.kind == MemberKind::kProperty && member.setter == nullptr ? 1 : 0;
    handle->parameterCount = static_cast<std::int32_t>(handle->parameterList.size());
    handle->parameters = handle->parameterList.data();
    handle->result = TypeOf(declaration.result);
    return handle;
}

}  // namespace

const ClassHandle& Handles::Of(Host& host, const Class& isa) {
    std::unique_ptr<ClassHandle>& handle = classes_[&isa];
    if (handle == nullptr) {
        handle = std::make_unique<ClassHandle>();
        handle->isaClass = &isa;
        handle->titleText = FilterShortName(isa.Name());
        handle->shortNameText = ClassShortName(isa.Name());
        handle->name = isa.Name().c_str();
        handle->shortName = handle->shortNameText.c_str();
        handle->title = handle->titleText.c_str();
        handle->recordVersion = isa.RecordVersion();
        for (const bool isShared : {false, true}) {
            for (const Member& member : isShared ? isa.SharedMembers() : isa.Members()) {
                handle->memberHandles.push_back(NewMember(*handle, member, isShared));
                handle->memberList.push_back(handle->memberHandles.back().get());
            }
        }
        handle->memberCount = static_cast<std::int32_t>(handle->memberList.size());
        handle->members = handle->memberList.data();
    }
    if (!isa.IsLinked()) {
        try {
            (void)host.Classes().Linked(isa.Name());
        } catch (const HostError&) {
            // Another module may register the superclass later.
        }
    }
    if (handle->superclass == nullptr && isa.Superclass() != nullptr) {
        // A map keeps its elements in place while others are added.
        handle->superclass = &Of(host, *isa.Superclass());
    }
    return *handle;
}

const MemberHandle& Handles::Of(Host& host, const DeclaredMember& member) {
    const ClassHandle& isa = Of(host, *member.isa);
    return **std::find_if(isa.memberHandles.begin(), isa.memberHandles.end(),
                          [&](const auto& each) { return each->member == member.member; });
}

}  // namespace host::library
