// box_class.cpp - the functions of a Box and its record.

#include "tests/host/box_class.h"

#include <iterator>
#include <utility>

#include "host/runtime/host.h"
#include "host/runtime/string.h"
#include "tests/host/method_entry.h"

namespace {

using host::ObjectReference;
using host::StringReference;

double GetNumber(ZEVAobjectStruct* self) { return BoxOf(self)->number; }
void SetNumber(ZEVAobjectStruct* self, double number) { BoxOf(self)->number = number; }
std::int32_t GetInteger(ZEVAobjectStruct* self) { return BoxOf(self)->integer; }
void SetInteger(ZEVAobjectStruct* self, std::int32_t integer) { BoxOf(self)->integer = integer; }
std::int32_t GetTruth(ZEVAobjectStruct* self) { return BoxOf(self)->truth; }
void SetTruth(ZEVAobjectStruct* self, std::int32_t truth) { BoxOf(self)->truth = truth; }
ZEVAstringStruct* GetText(ZEVAobjectStruct* self) { return StringReference::Retain(BoxOf(self)->string).Leak(); }
void SetText(ZEVAobjectStruct* self, ZEVAstringStruct* text) {
    host::Lock(text);
    host::Unlock(std::exchange(BoxOf(self)->string, text));
}
ZEVAobjectStruct* GetHeld(ZEVAobjectStruct* self) { return ObjectReference::Retain(BoxOf(self)->held).Leak(); }
void SetHeld(ZEVAobjectStruct* self, ZEVAobjectStruct* held) {
    host::Lock(held);
    host::Unlock(std::exchange(BoxOf(self)->held, held));
}
void Finalize(ZEVAobjectStruct* self) {
    host::Unlock(BoxOf(self)->string);
    host::Unlock(BoxOf(self)->held);
}

void Construct(ZEVAobjectStruct* self) { BoxOf(self)->number = 1; }
void ConstructFrom(ZEVAobjectStruct* self, double number, std::int32_t integer) {
    BoxOf(self)->number = number;
    BoxOf(self)->integer = integer;
}
// Each argument has its own weight, so the result shows when two of them are swapped.
double Weigh(ZEVAobjectStruct*, double a, std::int32_t b, double c, std::int32_t truth, ZEVAstringStruct* text) {
    return a + 10 * b + 100 * c + 1000 * truth + 10000 * static_cast<double>(text->bytes.size());
}
void Clear(ZEVAobjectStruct* self) { BoxOf(self)->number = 0; }

// Raises an exception whose error number is the Box's integer.
void Fail(ZEVAobjectStruct* self, ZEVAstringStruct* message) {
    host::Host& runtime = host::Host::Current();
    const ObjectReference exception = runtime.NewInstance("RuntimeException");
    runtime.Set(exception.Get(), "Message", StringReference::Retain(message));
    runtime.Set(exception.Get(), "ErrorNumber", BoxOf(self)->integer);
    runtime.Raise(exception);
}

std::int32_t AddShared(std::int32_t a, std::int32_t b) { return a + b; }

std::int32_t limit = 0;
std::int32_t GetLimit() { return limit; }
void SetLimit(std::int32_t number) { limit = number; }

ZEVAmethod methods[] = {
    Entry("Number as double", GetNumber, SetNumber),
    Entry("Integer as integer", GetInteger, SetInteger),
    Entry("Truth as boolean", GetTruth, SetTruth),
    Entry("Text as string", GetText, SetText),
    Entry("Held as Box", GetHeld, SetHeld),
    Entry("Bytes as memoryblock", GetHeld, SetHeld),
    Entry("Fixed as double", GetNumber),
    Entry("Weigh(a as double, b as integer, c as double, d as boolean, e as string) as double", Weigh),
    Entry("Clear", Clear),
    Entry("Fail(message as string)", Fail),
    Entry("Constructor", Construct),
    Entry("Constructor(number as double, integer as integer)", ConstructFrom),
};

ZEVAmethod sharedMethods[] = {
    Entry("Add(a as integer, b as integer) as integer", AddShared),
    Entry("Limit as integer", GetLimit, SetLimit),
};

}  // namespace

const ZEVAclassDefinition kBoxClass = {
    .record = {.version = kRecordVersion,
               .className = "Box",
               .instanceDataSize = sizeof(Box) - kZEVAobjectHeaderSize,
               .finalize = Finalize,
               .methods = methods,
               .methodCount = std::size(methods),
               .sharedMethods = sharedMethods,
               .sharedMethodCount = std::size(sharedMethods)},
};
