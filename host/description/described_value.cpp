// described_value.cpp - one case per kind of value.

#include "host/description/described_value.h"

#include <charconv>
#include <initializer_list>

#include "host/runtime/memory_block.h"
#include "host/runtime/string.h"

namespace {

using host::Host;
using host::ObjectReference;
using host::Value;

// The numbers that an object has as properties.
std::vector<double> Properties(Host& host, const ObjectReference& object, std::initializer_list<const char*> names) {
    std::vector<double> numbers;
    for (const char* name : names) numbers.push_back(std::get<double>(host.Get(object.Get(), name)));
    return numbers;
}

std::vector<double> VectorElements(Host& host, const ObjectReference& vector) {
    std::vector<double> numbers;
    const std::int32_t count = std::get<std::int32_t>(host.Get(vector.Get(), "Count"));
    for (std::int32_t i = 0; i < count; ++i) {
        const Value index[] = {i};
        numbers.push_back(std::get<double>(host.Call(vector.Get(), "ValueAt", index)));
    }
    return numbers;
}

DescribedValue DescribeObject(Host& host, const ObjectReference& object) {
    const std::string& className = object->isa->Name();
    if (className == "CIVectorQOR") return VectorElements(host, object);
    if (className == "CIColorQOR") return Properties(host, object, {"Red", "Green", "Blue", "Alpha"});
    if (className == "NSAffineTransformQOR") return Properties(host, object, {"A", "B", "C", "D", "TX", "TY"});
    if (object->isa->IsA("MemoryBlock")) {
        return ByteCount{static_cast<std::int32_t>(reinterpret_cast<const ZEVAmemoryBlockStruct*>(object.Get())->size)};
    }
    return className;
}

std::string ShortNumber(double number) {
    // In contrast to printf, this writes a point in every locale.
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::general, 6).ptr;
    return {text, end};
}

}  // namespace

DescribedValue DescribeValue(Host& host, const Value& value) {
    if (const auto* number = std::get_if<double>(&value)) return *number;
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
    if (const auto* truth = std::get_if<bool>(&value)) return *truth;
    if (const auto* text = std::get_if<host::StringReference>(&value)) return (*text)->bytes;
    if (const auto* object = std::get_if<ObjectReference>(&value)) return DescribeObject(host, *object);
    return {};
}

host::Json ToJson(const DescribedValue& value) {
    if (const auto* number = std::get_if<double>(&value)) return *number;
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return *integer;
    if (const auto* truth = std::get_if<bool>(&value)) return *truth;
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    if (const auto* block = std::get_if<ByteCount>(&value)) return {{"bytes", block->bytes}};
    if (const auto* numbers = std::get_if<std::vector<double>>(&value)) {
        host::Json list = host::Json::MakeArray();
        for (const double number : *numbers) list.push_back(number);
        return list;
    }
    return nullptr;
}

std::string ShortText(const DescribedValue& value) {
    if (const auto* number = std::get_if<double>(&value)) return ShortNumber(*number);
    if (const auto* integer = std::get_if<std::int32_t>(&value)) return std::to_string(*integer);
    if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "yes" : "no";
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    if (const auto* block = std::get_if<ByteCount>(&value)) return std::to_string(block->bytes) + " bytes";
    std::string text;
    if (const auto* numbers = std::get_if<std::vector<double>>(&value)) {
        for (const double number : *numbers) text += (text.empty() ? "" : ",") + ShortNumber(number);
    }
    return text;
}
