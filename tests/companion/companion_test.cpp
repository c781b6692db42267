// companion_test.cpp - the shared host, and the shorthands of the fixture.

#include "tests/companion/companion_test.h"

#include <unistd.h>

#include <fstream>
#include <utility>

#include "host/program/platform_pool.h"

namespace {

std::vector<std::string> messages;

constexpr unsigned char kPicture[] = {
    0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0x00, 0x00, 0x00, 0x0d, 0x49, 0x48, 0x44, 0x52, 0x00, 0x00,
    0x00, 0x03, 0x00, 0x00, 0x00, 0x02, 0x08, 0x06, 0x00, 0x00, 0x00, 0x9d, 0x74, 0x66, 0x1a, 0x00, 0x00, 0x00,
    0x1f, 0x49, 0x44, 0x41, 0x54, 0x78, 0xda, 0x63, 0xf8, 0xcf, 0xc0, 0xf0, 0x1f, 0x0c, 0x19, 0xfe, 0xff, 0x67,
    0xe0, 0x12, 0x91, 0xfb, 0xaf, 0x61, 0x64, 0xf3, 0xdf, 0x2d, 0x20, 0xaa, 0x01, 0x00, 0x89, 0x5c, 0x0a, 0x3b,
    0xad, 0x75, 0xb6, 0xe0, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4e, 0x44, 0xae, 0x42, 0x60, 0x82};

}  // namespace

host::Host& SharedHost() {
    static host::Host host({.callScope = PlatformPool(),
                            .report = [](const std::string& message) { messages.push_back(message); },
                            .failures = PlatformFailures()});
    if (host.Modules().empty()) {
        host.LoadModule(ZEVA_COMPANION_MODULE);
        host.LoadModule(ZEVA_FILTERS_MODULE);
    }
    return host;
}

std::vector<std::string> TakeMessages() { return std::exchange(messages, {}); }

CompanionTest::CompanionTest()
    : folder_(std::filesystem::temp_directory_path() / ("companion_test_" + std::to_string(getpid()))),
      objectsBefore_(host.LiveObjects()),
      stringsBefore_(host.LiveStrings()) {
    std::filesystem::create_directories(folder_);
}

CompanionTest::~CompanionTest() {
    EXPECT_EQ(host.LiveObjects(), objectsBefore_);
    EXPECT_EQ(host.LiveStrings(), stringsBefore_);
    EXPECT_EQ(TakeMessages(), std::vector<std::string>());
    std::filesystem::remove_all(folder_);
}

std::string CompanionTest::File(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
}

std::string CompanionTest::Picture() { return {reinterpret_cast<const char*>(kPicture), sizeof kPicture}; }

host::ObjectReference CompanionTest::Shared(const char* className, const char* method,
                                            std::vector<host::Value> arguments) {
    return std::get<host::ObjectReference>(host.CallShared(className, method, arguments));
}

host::ObjectReference CompanionTest::Object(const host::ObjectReference& object, const char* property) {
    const host::Value value = host.Get(object.Get(), property);
    const auto* reference = std::get_if<host::ObjectReference>(&value);
    return reference != nullptr ? *reference : host::ObjectReference();
}

double CompanionTest::Number(const host::ObjectReference& object, const char* property) {
    return std::get<double>(host.Get(object.Get(), property));
}

std::string CompanionTest::Text(const host::ObjectReference& object, const char* property) {
    const host::Value value = host.Get(object.Get(), property);
    const auto* string = std::get_if<host::StringReference>(&value);
    return string != nullptr ? (*string)->bytes : "nil";
}

std::vector<double> CompanionTest::Numbers(const host::ObjectReference& vector) {
    std::vector<double> numbers(static_cast<std::size_t>(std::get<std::int32_t>(host.Get(vector.Get(), "Count"))));
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const host::Value index[] = {static_cast<std::int32_t>(i)};
        numbers[i] = std::get<double>(host.Call(vector.Get(), "ValueAt", index));
    }
    return numbers;
}
