// services_test.cpp - the services as a module uses them: by name, from C.

#include "host/runtime/services.h"

#include <algorithm>
#include <cstring>
#include <set>

#include "host/runtime/memory_block.h"
#include "interface/record_version.h"
#include "interface/services.h"
#include "interface/string_data.h"
#include "interface/text_encoding.h"
#include "tests/host/host_test.h"

namespace {

// A service as a module finds it.
template <typename Listed>
typename Listed::Signature* Service() {
    return service::Resolve<Listed>(&host::ResolveService);
}

class ServicesTest : public HostTest {
  protected:
    service::PluginNewInstance::Signature* newInstance = Service<service::PluginNewInstance>();
    service::ZEVAUnlockObject::Signature* unlockObject = Service<service::ZEVAUnlockObject>();
    service::ZEVAUnlockString::Signature* unlockString = Service<service::ZEVAUnlockString>();
    service::ZEVABuildString::Signature* buildString = Service<service::ZEVABuildString>();
};

TEST_F(ServicesTest, EachNameHasItsOwnService) {
    std::set<std::string> names;
    std::set<ZEVAentry> entries;
    for (const host::Service& service : host::Services()) {
        names.insert(service.name);
        entries.insert(service.entry);
        EXPECT_EQ(host::ResolveService(service.name), service.entry);
    }
    // The names that existing modules ask for. The list may grow, but none of these may change or go.
    const std::set<std::string> known{"RegisterPluginVersion",   "ZEVAGetZVVersion",      "PluginRegisterClass",
                                      "ZEVABuildString",         "ZEVASetStringEncoding", "PluginNewInstance",
                                      "ZEVASetPropValueString",  "ZEVASetPropValueInt",   "RuntimeRaiseException",
                                      "ZEVALockObject",          "ZEVAUnlockObject",      "ZEVAUnlockString",
                                      "PluginDisposeStringData", "PluginGetStringData",   "newMemoryBlock",
                                      "memoryBlockGetPtr",       "memoryBlockGetSize"};
    EXPECT_TRUE(std::includes(names.begin(), names.end(), known.begin(), known.end()));
    EXPECT_EQ(entries.size(), names.size());
}

TEST_F(ServicesTest, OtherNamesResolveToNull) {
    EXPECT_EQ(host::ResolveService("pluginnewinstance"), nullptr);
    EXPECT_EQ(host::ResolveService(""), nullptr);
    EXPECT_EQ(host::ResolveService(nullptr), nullptr);
}

TEST_F(ServicesTest, ReturnsTheVersionOfTheHost) { EXPECT_EQ(Service<service::ZEVAGetZVVersion>()(), 2013.03); }

TEST_F(ServicesTest, ReturnsNullForAnUnknownClassWithoutAMessage) {
    EXPECT_EQ(newInstance("Kettle"), nullptr);
    EXPECT_EQ(newInstance(nullptr), nullptr);
    EXPECT_EQ(TakeMessages(), Messages());
}

TEST_F(ServicesTest, ReportsAClassWithoutItsSuperclass) {
    Register("Kettle", "Vessel");
    EXPECT_EQ(newInstance("Kettle"), nullptr);
    EXPECT_EQ(TakeMessages(), Messages{"PluginNewInstance: Kettle: its superclass Vessel is not registered; it cannot "
                                       "have objects"});
}

TEST_F(ServicesTest, LockAndUnlockCountReferences) {
    ZEVAobjectStruct* object = newInstance("RuntimeException");
    EXPECT_EQ(object->references, 1);
    Service<service::ZEVALockObject>()(object);
    EXPECT_EQ(object->references, 2);
    unlockObject(object);
    unlockObject(object);
    EXPECT_EQ(host.LiveObjects(), 0);
    unlockObject(nullptr);
}

TEST_F(ServicesTest, StringsKeepTheirBytesAndTheirEncoding) {
    ZEVAstringStruct* string = buildString("a\0b", 3);
    EXPECT_EQ(string->bytes, std::string("a\0b", 3));
    EXPECT_EQ(string->encoding, 0x08000100u);
    Service<service::ZEVASetStringEncoding>()(string, kEncodingAscii);
    EXPECT_EQ(string->encoding, kEncodingAscii);
    unlockString(string);
    EXPECT_EQ(host.LiveStrings(), 0);
}

TEST_F(ServicesTest, ReturnsNullForStringsWithInvalidArguments) {
    EXPECT_EQ(buildString("abc", -1), nullptr);
    EXPECT_EQ(buildString(nullptr, 3), nullptr);
    EXPECT_EQ(TakeMessages(), Messages());
    EXPECT_EQ(host.LiveStrings(), 0);
    ZEVAstringStruct* empty = buildString(nullptr, 0);
    ASSERT_NE(empty, nullptr);
    unlockString(empty);
}

TEST_F(ServicesTest, StringDataIsACopyWithLengthAndEncoding) {
    const auto getStringData = Service<service::PluginGetStringData>();
    ZEVAstringStruct* string = buildString("Gr\xc3\xbc\xc3\x9f", 6);
    ZEVAstringData data = {};
    EXPECT_EQ(getStringData(string, &data), 1);
    unlockString(string);
    EXPECT_STREQ(static_cast<const char*>(data.bytes), "Gr\xc3\xbc\xc3\x9f");
    EXPECT_EQ(data.hostWords[kStringDataLength], 6);
    EXPECT_EQ(data.hostWords[kStringDataEncoding], static_cast<ZEVAword>(kEncodingUtf8));
    Service<service::PluginDisposeStringData>()(&data);
    EXPECT_EQ(data.bytes, nullptr);
    EXPECT_EQ(getStringData(nullptr, &data), 0);
}

TEST_F(ServicesTest, TheBytesOfANewMemoryBlockAreZero) {
    auto* block = Service<service::newMemoryBlock>()(3);
    const auto* bytes = static_cast<const unsigned char*>(Service<service::memoryBlockGetPtr>()(block));
    EXPECT_EQ(Service<service::memoryBlockGetSize>()(block), 3);
    EXPECT_EQ(bytes[0] + bytes[1] + bytes[2], 0);
    auto* object = reinterpret_cast<ZEVAobjectStruct*>(block);
    EXPECT_EQ(object->references, 1);
    EXPECT_EQ(host.LiveObjects(), 1);
    unlockObject(object);
    EXPECT_EQ(host.LiveObjects(), 0);
}

TEST_F(ServicesTest, AnEmptyMemoryBlockHasNoPointerAndANegativeSizeReturnsNull) {
    auto* block = Service<service::newMemoryBlock>()(0);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(Service<service::memoryBlockGetPtr>()(block), nullptr);
    unlockObject(reinterpret_cast<ZEVAobjectStruct*>(block));
    EXPECT_EQ(Service<service::newMemoryBlock>()(-1), nullptr);
    EXPECT_EQ(Service<service::memoryBlockGetSize>()(nullptr), 0);
}

TEST_F(ServicesTest, AMemoryBlockOverForeignBytesForgetsThemWhenItEnds) {
    char bytes[] = "foreign";
    int forgotten = 0;
    host::ObjectReference block = host::NewMemoryBlockOver(
        bytes, sizeof bytes, [](void* context) { ++*static_cast<int*>(context); }, &forgotten);
    auto* object = reinterpret_cast<ZEVAmemoryBlockStruct*>(block.Get());
    EXPECT_EQ(Service<service::memoryBlockGetPtr>()(object), static_cast<void*>(bytes));
    EXPECT_EQ(forgotten, 0);
    block = {};
    EXPECT_EQ(forgotten, 1);
    EXPECT_EQ(host.LiveObjects(), 0);
}

TEST_F(ServicesTest, ReportsSettingAnUnknownProperty) {
    ZEVAobjectStruct* object = newInstance("RuntimeException");
    const auto setInteger = Service<service::ZEVASetPropValueInt>();
    setInteger(object, "Number", 1);
    setInteger(object, nullptr, 1);
    setInteger(nullptr, "Number", 1);
    EXPECT_EQ(TakeMessages(), (Messages{"ZEVASetPropValueInt: RuntimeException.Number: the class has no such property, "
                                        "did you mean ErrorNumber",
                                        "ZEVASetPropValueInt: RuntimeException.: the class has no such property",
                                        "ZEVASetPropValueInt: nil.Number: there is no object"}));
    unlockObject(object);
}

TEST_F(ServicesTest, ReportsAVersionThatIsAnnouncedOutsideALoad) {
    Service<service::RegisterPluginVersion>()(kNewestRecordVersion);
    EXPECT_EQ(TakeMessages(), Messages{"RegisterPluginVersion: no module is being loaded; the call is ignored"});
}

}  // namespace
