// records.cpp - class records as a module hands them to the host. The input decides versions, names, sizes, tables and
// declarations; pointers lead to memory of the size that the record claims, as the interface demands of a module.

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "interface/class_definition.h"

namespace {

// Objects above this size are not made: the host reports that memory is short, as tests of the host show.
constexpr std::size_t kLargestObject = std::size_t{1} << 16;

double Function(ZEVAobjectStruct*) { return 0; }

// What a record points to; each text and table has a block of its own, so that reading beyond one is noticed.
class Records {
  public:
    explicit Records(FuzzedDataProvider& input) : input_(input) {}

    // Returns a record that is valid as long as this object.
    ZEVAclassDefinition* Next() {
        definitions_.push_back(std::make_unique<ZEVAclassDefinition>());
        ZEVAclassDefinitionDownLevel& record = definitions_.back()->record;
        record.version = input_.ConsumeIntegralInRange<ZEVAword>(8, 13);
        record.className = Text();
        record.superclassName = Text();
        record.instanceDataSize = input_.ConsumeIntegral<ZEVAword>();
        const bool isDownLevel = record.version == kDownLevelRecordVersion;
        record.methods = Table(isDownLevel, &record.methodCount);
        record.sharedMethods = Table(isDownLevel, &record.sharedMethodCount);
        return definitions_.back().get();
    }

  private:
    // A short name, so that records name each other; or any text; or null.
    const char* Text() {
        switch (input_.ConsumeIntegralInRange(0, 5)) {
            case 0:
                return nullptr;
            case 1:
                return Keep(input_.ConsumeRandomLengthString(40));
            default:
                return Keep(std::string(1, input_.PickValueInArray({'A', 'B', 'C', 'D'})));
        }
    }

    const char* Keep(const std::string& text) {
        texts_.push_back(std::make_unique<std::string>(text));
        return texts_.back()->c_str();
    }

    ZEVAmethod* Table(bool isDownLevel, ZEVAword* count) {
        if (input_.ConsumeIntegralInRange(0, 9) == 0) {
            *count = input_.ConsumeIntegralInRange<ZEVAword>(-2, 2);
            return nullptr;
        }
        const std::size_t size = input_.ConsumeIntegralInRange<std::size_t>(0, 6);
        *count = static_cast<ZEVAword>(size);
        const std::size_t words = (isDownLevel ? sizeof(ZEVAmethodDownLevel) : sizeof(ZEVAmethod)) / sizeof(ZEVAword);
        tables_.push_back(std::make_unique<ZEVAword[]>(size * words));
        for (std::size_t i = 0; i < size; ++i) {
            auto& entry = *reinterpret_cast<ZEVAmethodDownLevel*>(tables_.back().get() + i * words);
            entry.function = input_.ConsumeBool() ? reinterpret_cast<ZEVAentry>(Function) : nullptr;
            entry.setter = input_.ConsumeBool() ? reinterpret_cast<ZEVAentry>(Function) : nullptr;
            entry.declaration =
                input_.ConsumeBool() ? Text() : Keep(input_.ConsumeRandomLengthString(20) + kTypes[Index()]);
            entry.flags = input_.ConsumeIntegral<ZEVAword>();
        }
        return reinterpret_cast<ZEVAmethod*>(tables_.back().get());
    }

    std::size_t Index() { return input_.ConsumeIntegralInRange<std::size_t>(0, kTypes.size() - 1); }

    static constexpr std::array kTypes = {" as double",
                                          " as B",
                                          "()",
                                          "(x as integer) as string",
                                          "(a as A, b as B)",
                                          "Constructor",
                                          "Constructor(x as memoryblock)"};

    FuzzedDataProvider& input_;
    std::vector<std::unique_ptr<ZEVAclassDefinition>> definitions_;
    std::vector<std::unique_ptr<std::string>> texts_;
    std::vector<std::unique_ptr<ZEVAword[]>> tables_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    FuzzedDataProvider input(bytes, length);
    Records records(input);
    host::Host host({.report = [](const std::string&) {}});
    for (int count = input.ConsumeIntegralInRange(1, 5); count > 0; --count) {
        host.Classes().Register(&records.Next()->record);
    }
    for (const host::Class* isa : std::vector(host.Classes().All())) {
        try {
            const host::Class& linked = host.Classes().Linked(isa->Name());
            for (const host::Member& member : linked.Members()) {
                static_cast<void>(linked.FindMember(member.declaration.name));
                static_cast<void>(linked.FindConstructor(member.declaration.parameters.size()));
            }
            for (const host::Member& member : linked.SharedMembers()) {
                static_cast<void>(linked.FindSharedMember(member.declaration.name));
            }
            if (linked.DataSize() <= kLargestObject) static_cast<void>(host.NewInstance(linked.Name()));
        } catch (const host::HostError&) {
        }
    }
    return 0;
}
