// counter.cpp - a module with two classes.
//
//   Counter        an object with a number: the property Value and the method Add
//   CounterTools   shared methods: Copy makes another object of the class Counter
//
// Lifetime: the host keeps pointers to the records and tables below for the life of the process.
// Threads:  the host's thread only.
// Adding a member: a function, and a row in the table of its class.

#include <iterator>

#include "plugin/host_services.h"
#include "plugin/plugin_main.h"

namespace {

// An object of the class Counter: the host's header, then the data of the class. New objects have data of zero.
struct CounterObject {
    unsigned char header[kZEVAobjectHeaderSize];
    double value;
};

double& ValueOf(ZEVAobjectStruct* object) { return reinterpret_cast<CounterObject*>(object)->value; }

double GetValue(ZEVAobjectStruct* self) { return ValueOf(self); }
void SetValue(ZEVAobjectStruct* self, double value) { ValueOf(self) = value; }

// Adds a number and returns the sum.
double Add(ZEVAobjectStruct* self, double step) { return ValueOf(self) += step; }

// Returns a new object with the same value, which the caller owns; null for null.
ZEVAobjectStruct* Copy(ZEVAobjectStruct* original) {
    ZEVAobjectStruct* copy = original != nullptr ? ZEVAnewInstance("Counter") : nullptr;
    if (copy != nullptr) ValueOf(copy) = ValueOf(original);
    return copy;
}

// A row of a table.
template <typename Function>
ZEVAmethod Method(const char* declaration, Function* function) {
    return {{reinterpret_cast<ZEVAentry>(function), nullptr, declaration, kHostFlags}, {}};
}

template <typename Getter, typename Setter>
ZEVAmethod Property(const char* declaration, Getter* getter, Setter* setter) {
    return {{reinterpret_cast<ZEVAentry>(getter), reinterpret_cast<ZEVAentry>(setter), declaration, kHostFlags}, {}};
}

ZEVAmethod counterMembers[] = {
    Property("Value as double", GetValue, SetValue),
    Method("Add(step as double) as double", Add),
};

ZEVAmethod sharedMembers[] = {Method("Copy(original as Counter) as Counter", Copy)};

ZEVAclassDefinition counterClass = {.record = {.version = kRecordVersion,
                                               .className = "Counter",
                                               .instanceDataSize = sizeof(CounterObject) - kZEVAobjectHeaderSize,
                                               .methods = counterMembers,
                                               .methodCount = std::size(counterMembers),
                                               .flags = kHostFlags}};

ZEVAclassDefinition toolsClass = {.record = {.version = kRecordVersion,
                                             .className = "CounterTools",
                                             .flags = kHostFlags,
                                             .sharedMethods = sharedMembers,
                                             .sharedMethodCount = std::size(sharedMembers)}};

}  // namespace

std::span<ZEVAclassDefinition* const> ModuleClasses() {
    static ZEVAclassDefinition* const classes[] = {&counterClass, &toolsClass};
    return classes;
}
