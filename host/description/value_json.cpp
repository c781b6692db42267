// value_json.cpp - one case per kind of value.

#include "host/description/value_json.h"

#include "host/runtime/memory_block.h"
#include "host/runtime/string.h"

namespace {

using host::Host;
using host::ObjectReference;
using host::Value;

// The numbers of an object that has them as properties.
Json Properties(Host& session, const ObjectReference& object, std::initializer_list<const char*> names) {
    Json list = Json::array();
    for (const char* name : names) list.push_back(std::get<double>(session.Get(object.Get(), name)));
    return list;
}

Json VectorJson(Host& session, const ObjectReference& vector) {
    Json list = Json::array();
    const std::int32_t count = std::get<std::int32_t>(session.Get(vector.Get(), "Count"));
    for (std::int32_t i = 0; i < count; ++i) {
        const Value index[] = {i};
        list.push_back(std::get<double>(session.Call(vector.Get(), "ValueAt", index)));
    }
    return list;
}

Json ObjectJson(Host& session, const ObjectReference& object) {
    const std::string& className = object->isa->Name();
    if (className == "CIVectorQOR") return VectorJson(session, object);
    if (className == "CIColorQOR") return Properties(session, object, {"Red", "Green", "Blue", "Alpha"});
    if (className == "NSAffineTransformQOR") return Properties(session, object, {"A", "B", "C", "D", "TX", "TY"});
    if (object->isa->IsA("MemoryBlock")) {
        return {{"bytes", reinterpret_cast<const ZEVAmemoryBlockStruct*>(object.Get())->size}};
    }
    return className;
}

}  // namespace

Json ValueJson(Host& session, const Value& value) {
    if (const auto* number = std::get_if<double>(&value)) return *number;
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
    if (const auto* truth = std::get_if<bool>(&value)) return *truth;
    if (const auto* text = std::get_if<host::StringReference>(&value)) return (*text)->bytes;
    if (const auto* object = std::get_if<ObjectReference>(&value)) return ObjectJson(session, *object);
    return nullptr;
}
