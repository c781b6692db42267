// services_test.cpp - the services as a module uses them: by name, from C.

#include "host/runtime/services.h"

#include <cstring>
#include <set>

#include "tests/host/host_test.h"

namespace {

template <typename Function>
Function* Service(const char* name) {
    return reinterpret_cast<Function*>(host::ResolveService(name));
}

class ServicesTest : public HostTest {
  protected:
    ZEVAobjectStruct* (*newInstance)(const char*) = Service<ZEVAobjectStruct*(const char*)>("PluginNewInstance");
    void (*unlockObject)(ZEVAobjectStruct*) = Service<void(ZEVAobjectStruct*)>("ZEVAUnlockObject");
    void (*unlockString)(ZEVAstringStruct*) = Service<void(ZEVAstringStruct*)>("ZEVAUnlockString");
    ZEVAstringStruct* (*buildString)(const char*, std::int32_t) =
        Service<ZEVAstringStruct*(const char*, std::int32_t)>("ZEVABuildString");
};

TEST_F(ServicesTest, EachNameHasItsOwnService) {
    std::set<std::string> names;
    std::set<ZEVAentry> entries;
    for (const host::Service& service : host::Services()) {
        names.insert(service.name);
        entries.insert(service.entry);
        EXPECT_EQ(host::ResolveService(service.name), service.entry);
    }
    EXPECT_EQ(names, (std::set<std::string>{"RegisterPluginVersion", "ZEVAGetZVVersion", "PluginRegisterClass",
                                            "ZEVABuildString", "ZEVASetStringEncoding", "PluginNewInstance",
                                            "ZEVASetPropValueString", "ZEVASetPropValueInt", "RuntimeRaiseException",
                                            "ZEVALockObject", "ZEVAUnlockObject", "ZEVAUnlockString",
                                            "PluginDisposeStringData", "PluginGetStringData", "newMemoryBlock",
                                            "memoryBlockGetPtr", "memoryBlockGetSize"}));
    EXPECT_EQ(entries.size(), names.size());
}

TEST_F(ServicesTest, OtherNamesResolveToNull) {
    EXPECT_EQ(host::ResolveService("pluginnewinstance"), nullptr);
    EXPECT_EQ(host::ResolveService(""), nullptr);
    EXPECT_EQ(host::ResolveService(nullptr), nullptr);
}

TEST_F(ServicesTest, ReturnsTheVersionOfTheHost) { EXPECT_EQ(Service<double()>("ZEVAGetZVVersion")(), 2013.03); }

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
    Service<void(ZEVAobjectStruct*)>("ZEVALockObject")(object);
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
    Service<void(ZEVAstringStruct*, std::uint32_t)>("ZEVASetStringEncoding")(string, 0x600);
    EXPECT_EQ(string->encoding, 0x600u);
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
    const auto getStringData = Service<std::int32_t(ZEVAstringStruct*, ZEVAstringData*)>("PluginGetStringData");
    ZEVAstringStruct* string = buildString("Gr\xc3\xbc\xc3\x9f", 6);
    ZEVAstringData data = {};
    EXPECT_EQ(getStringData(string, &data), 1);
    unlockString(string);
    EXPECT_STREQ(static_cast<const char*>(data.bytes), "Gr\xc3\xbc\xc3\x9f");
    EXPECT_EQ(data.hostWords[0], 6);
    EXPECT_EQ(data.hostWords[1], 0x08000100);
    Service<void(ZEVAstringData*)>("PluginDisposeStringData")(&data);
    EXPECT_EQ(data.bytes, nullptr);
    EXPECT_EQ(getStringData(nullptr, &data), 0);
}

TEST_F(ServicesTest, TheBytesOfANewMemoryBlockAreZero) {
    auto* block = Service<ZEVAmemoryBlockStruct*(std::int32_t)>("newMemoryBlock")(3);
    const auto* bytes =
        static_cast<const unsigned char*>(Service<void*(ZEVAmemoryBlockStruct*)>("memoryBlockGetPtr")(block));
    EXPECT_EQ(Service<std::int32_t(ZEVAmemoryBlockStruct*)>("memoryBlockGetSize")(block), 3);
    EXPECT_EQ(bytes[0] + bytes[1] + bytes[2], 0);
    auto* object = reinterpret_cast<ZEVAobjectStruct*>(block);
    EXPECT_EQ(object->references, 1);
    EXPECT_EQ(host.LiveObjects(), 1);
    unlockObject(object);
    EXPECT_EQ(host.LiveObjects(), 0);
}

TEST_F(ServicesTest, AnEmptyMemoryBlockHasNoPointerAndANegativeSizeReturnsNull) {
    auto* block = Service<ZEVAmemoryBlockStruct*(std::int32_t)>("newMemoryBlock")(0);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(Service<void*(ZEVAmemoryBlockStruct*)>("memoryBlockGetPtr")(block), nullptr);
    unlockObject(reinterpret_cast<ZEVAobjectStruct*>(block));
    EXPECT_EQ(Service<ZEVAmemoryBlockStruct*(std::int32_t)>("newMemoryBlock")(-1), nullptr);
    EXPECT_EQ(Service<std::int32_t(ZEVAmemoryBlockStruct*)>("memoryBlockGetSize")(nullptr), 0);
}

TEST_F(ServicesTest, ReportsSettingAnUnknownProperty) {
    ZEVAobjectStruct* object = newInstance("RuntimeException");
    const auto setInteger = Service<void(ZEVAobjectStruct*, const char*, std::int32_t)>("ZEVASetPropValueInt");
    setInteger(object, "Number", 1);
    setInteger(object, nullptr, 1);
    setInteger(nullptr, "Number", 1);
    EXPECT_EQ(TakeMessages(), (Messages{"ZEVASetPropValueInt: RuntimeException.Number: the class has no such property",
                                        "ZEVASetPropValueInt: RuntimeException.: the class has no such property",
                                        "ZEVASetPropValueInt: nil.Number: there is no object"}));
    unlockObject(object);
}

TEST_F(ServicesTest, ReportsAVersionThatIsAnnouncedOutsideALoad) {
    Service<void(std::int32_t)>("RegisterPluginVersion")(12);
    EXPECT_EQ(TakeMessages(), Messages{"RegisterPluginVersion: no module is being loaded; the call is ignored"});
}

}  // namespace
