// exercise.cpp - makes values, and visits members.

#include "host/checker/exercise.h"

#include <cmath>
#include <iterator>
#include <map>

#include "host/runtime/describe.h"
#include "host/runtime/errors.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"

namespace checker {

namespace {

using host::TypeKind;

bool TakesNumbersOnly(const host::Declaration& declaration) {
    for (const host::Parameter& parameter : declaration.parameters) {
        const TypeKind kind = parameter.type.kind;
        if (kind != TypeKind::kDouble && kind != TypeKind::kInteger && kind != TypeKind::kBoolean) return false;
    }
    return true;
}

bool IsMade(const host::Value& value, const std::string& className) {
    const host::ObjectReference object = ObjectIn(value);
    return object && object->isa->IsA(className);
}

// Makes an object with a shared method that takes only numbers.
host::Value MadeBySharedMethod(Stage& stage, const std::string& className, int which) {
    for (const host::Class* isa : stage.AllClasses()) {
        for (const host::Member& method : isa->SharedMembers()) {
            const host::Declaration& declaration = method.declaration;
            if (declaration.result.className != className || !TakesNumbersOnly(declaration)) continue;
            std::vector<host::Value> arguments;
            for (const host::Parameter& parameter : declaration.parameters) {
                arguments.push_back(MakeValue(stage, parameter.type, which));
            }
            const CallResult result = stage.CallShared(*isa, method, arguments);
            if (result.Succeeded() && IsMade(result.value, className)) return result.value;
        }
    }
    return {};
}

// Takes an object from a property of a new object.
host::Value MadeByProperty(Stage& stage, const std::string& className) {
    for (const host::Class* isa : stage.Classes()) {
        for (const host::Member& property : isa->Members()) {
            if (!IsProperty(property) || property.declaration.result.className != className) continue;
            const host::ObjectReference owner = stage.New(*isa);
            if (!owner) continue;
            const CallResult result = stage.Read(owner, property);
            if (result.Succeeded() && IsMade(result.value, className)) return result.value;
        }
    }
    return {};
}

host::Value MadeByConstructor(Stage& stage, const std::string& className) {
    if (stage.host.Classes().Find(className) == nullptr) return {};
    try {
        host::ObjectReference object = stage.New(stage.host.Classes().Linked(className));
        if (object) return object;
    } catch (const host::HostError&) {
        // A superclass is missing, so the class cannot have objects.
    }
    return {};
}

host::Value MakeObject(Stage& stage, const std::string& className, int which) {
    if (className == "MemoryBlock") return MakeBlock(16, static_cast<unsigned char>(which));
    // The first way that works for a class works for all its objects.
    using Way = host::Value (*)(Stage&, const std::string&, int);
    constexpr Way kWays[] = {
        MadeBySharedMethod,
        [](Stage& at, const std::string& name, int) { return MadeByProperty(at, name); },
        [](Stage& at, const std::string& name, int) { return MadeByConstructor(at, name); },
    };
    static std::map<std::string, Way> known;
    if (const auto found = known.find(className); found != known.end()) return found->second(stage, className, which);
    for (const Way way : kWays) {
        host::Value made = way(stage, className, which);
        if (IsNil(made)) continue;
        known[className] = way;
        return made;
    }
    return {};
}

}  // namespace

host::Value MakeValue(Stage& stage, const host::Type& type, int which) {
    const double number = kNumbers[static_cast<std::size_t>(which) % std::size(kNumbers)];
    switch (type.kind) {
        case TypeKind::kNone:
            break;
        case TypeKind::kDouble:
            return number;
        case TypeKind::kInteger:
            return static_cast<std::int32_t>(which + 1);
        case TypeKind::kBoolean:
            return which % 2 == 0;
        case TypeKind::kString:
            return host::TextValue("text " + std::to_string(which));
        case TypeKind::kObject:
            return MakeObject(stage, type.className, which);
    }
    return {};
}

host::Value MakeBlock(std::int32_t size, unsigned char first) {
    host::ObjectReference object = host::NewMemoryBlock(size);
    if (!object) return {};
    auto* block = reinterpret_cast<ZEVAmemoryBlockStruct*>(object.Get());
    if (Watch::Current().guardsBlocks) Watch::Current().Guard(object.Get());
    for (std::int32_t i = 0; i < size; ++i) block->bytes[i] = static_cast<unsigned char>(first + i);
    return object;
}

std::string BytesOf(const host::Value& value) {
    const host::ObjectReference object = ObjectIn(value);
    if (!object || !object->isa->IsA("MemoryBlock")) return {};
    const auto* block = reinterpret_cast<const ZEVAmemoryBlockStruct*>(object.Get());
    return std::string(reinterpret_cast<const char*>(block->bytes), static_cast<std::size_t>(block->size));
}

bool Same(const host::Value& one, const host::Value& other) {
    if (one.index() != other.index()) return false;
    if (const auto* text = std::get_if<host::StringReference>(&one)) {
        return (*text)->bytes == std::get<host::StringReference>(other)->bytes;
    }
    if (const host::ObjectReference object = ObjectIn(one)) {
        return object->isa == ObjectIn(other)->isa && BytesOf(one) == BytesOf(other);
    }
    const auto* number = std::get_if<double>(&one);
    if (number != nullptr && std::isnan(*number)) return std::isnan(std::get<double>(other));
    return one == other;
}

std::string ValueText(const host::Value& value) {
    const host::ObjectReference object = ObjectIn(value);
    if (!object || !object->isa->IsA("MemoryBlock")) return host::Describe(value);
    return "a MemoryBlock of " + std::to_string(BytesOf(value).size()) + " bytes";
}

void UseEveryClass(Stage& stage) {
    for (const host::Class* isa : stage.Classes()) {
        {
            const host::ObjectReference object = stage.New(*isa);
            if (!object) continue;
            for (const host::Member& property : isa->Members()) {
                if (!IsProperty(property)) continue;
                stage.Read(object, property);
                if (!IsWritable(property)) continue;
                const host::Value value = MakeValue(stage, property.declaration.result);
                if (!IsNil(value)) stage.Write(object, property, value);
                stage.Read(object, property);
            }
        }
        stage.watch.Settle();
    }
}

void ProvokeExceptions(Stage& stage) {
    for (const host::Class* isa : stage.Classes()) {
        {
            const host::ObjectReference object = stage.New(*isa);
            if (object && isa->FindConstructor(0) != nullptr) stage.Construct(object);
            if (object) CallMethodsWithNil(stage, object);
            CallSharedMethodsWithNil(stage, *isa);
        }
        stage.watch.Settle();
    }
}

std::vector<host::Value> NilsFor(const host::Declaration& declaration) {
    std::vector<host::Value> arguments;
    for (const host::Parameter& parameter : declaration.parameters) {
        switch (parameter.type.kind) {
            case TypeKind::kDouble:
                arguments.emplace_back(0.0);
                break;
            case TypeKind::kInteger:
                arguments.emplace_back(std::int32_t{0});
                break;
            case TypeKind::kBoolean:
                arguments.emplace_back(false);
                break;
            default:
                arguments.emplace_back();
        }
    }
    return arguments;
}

void CallMethodsWithNil(Stage& stage, const host::ObjectReference& object) {
    for (const host::Member& method : object->isa->Members()) {
        if (method.declaration.kind != host::MemberKind::kMethod) continue;
        stage.Call(object, method, NilsFor(method.declaration));
    }
}

void CallSharedMethodsWithNil(Stage& stage, const host::Class& isa) {
    for (const host::Member& method : isa.SharedMembers()) {
        if (method.declaration.kind != host::MemberKind::kMethod) continue;
        stage.CallShared(isa, method, NilsFor(method.declaration));
    }
}

}  // namespace checker
