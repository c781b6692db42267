// attribute_test.mm - the attribute properties.

#import <CoreImage/CoreImage.h>

#include "tests/boundary/boundary_test.h"
#include "tests/boundary/catalogue.h"
#include "tests/boundary/recording_objects.h"

namespace {

class AttributeTest : public BoundaryTest {
  protected:
    AttributeTest() {
        Enter();
        filter->reply = attributes;
        attributes->reply = attribute;
        attribute->isDictionary = YES;
    }

    ZEVAobjectStruct* Read(const char* key = "inputRadius") {
        const std::string declaration = std::string("Attribute") + key + " as CIAttributeQOR";
        return Getter<ZEVAobjectStruct*(ZEVAobjectStruct*)>("CIFilterBloomQOR", declaration)(&object);
    }

    RecordingObject* filter = [RecordingObject named:"filter"];
    RecordingObject* attributes = [RecordingObject named:"attributes"];
    RecordingObject* attribute = [RecordingObject named:"attribute"];
    ZEVAobjectStruct object = MakeFilterObject(filter);
    CapturedLog captured;
};

TEST_F(AttributeTest, FetchesRetainsLooksUpChecksCreatesAndRetainsInThisOrder) {
    ZEVAobjectStruct* read = Read();
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(host.TakeLog(),
              (Lines{"[filter attributes]", "[attributes retain]", "[attributes objectForKey:inputRadius]",
                     "[attribute isKindOfClass:NSDictionary]", "resolve PluginNewInstance",
                     "PluginNewInstance CIAttributeQOR", "[attribute retain]"}));
    EXPECT_EQ(read->fields[0], reinterpret_cast<ZEVAword>(attribute));
    EXPECT_TRUE([reinterpret_cast<NSString*>(read->fields[1]) isEqual:@"inputRadius"]);
    EXPECT_EQ(object.fields[1], reinterpret_cast<ZEVAword>(attributes));
}

// An accessor passes a constant as its key; the probe passes any object.
TEST_F(AttributeTest, StoresTheReplyOfTheKeysRetain) {
    LoadedModule probe{ProbeModule()};
    probe.Enter();
    RecordingObject* key = [RecordingObject named:"key"];
    key->successor = [RecordingObject named:"retained key"];
    auto* get = probe.Find<ZEVAobjectStruct*(ZEVAobjectStruct*, NSString*)>("ProbeGetAttribute");
    ZEVAobjectStruct* read = get(&object, static_cast<NSString*>(static_cast<id>(key)));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->fields[1], reinterpret_cast<ZEVAword>(key->successor));
    EXPECT_EQ(key->references, 2u);
}

TEST_F(AttributeTest, FilterIsAskedForItsAttributesOncePerObject) {
    ZEVAobjectStruct* first = Read();
    ZEVAobjectStruct* second = Read();
    Read("inputIntensity");
    EXPECT_NE(first, second);
    EXPECT_EQ(first->fields[0], second->fields[0]);
    const Lines log = host.TakeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), "[filter attributes]"), 1);
    EXPECT_EQ(attributes->references, 2u);
    EXPECT_EQ(attribute->references, 4u);
}

TEST_F(AttributeTest, FilterWithoutAttributesIsAskedAgainAtTheNextRead) {
    filter->reply = nil;
    EXPECT_EQ(Read(), nullptr);
    EXPECT_EQ(object.fields[1], 0);
    filter->reply = attributes;
    EXPECT_NE(Read(), nullptr);
}

TEST_F(AttributeTest, KeyWithoutAttributesReadsAsNull) {
    attributes->reply = nil;
    EXPECT_EQ(Read(), nullptr);
    EXPECT_TRUE(host.raised.empty());
    EXPECT_EQ(host.LookupsOf("PluginNewInstance"), 0);
}

TEST_F(AttributeTest, AttributesThatAreNotADictionaryReadAsNull) {
    attribute->isDictionary = NO;
    EXPECT_EQ(Read(), nullptr);
    EXPECT_EQ(host.LookupsOf("PluginNewInstance"), 0);
}

TEST_F(AttributeTest, ObjectWithoutFilterReadsAsNullAndCachesNothing) {
    object = MakeFilterObject(nil);
    EXPECT_EQ(Read(), nullptr);
    EXPECT_EQ(object.fields[1], 0);
    EXPECT_EQ(host.TakeLog(), Lines{});
}

TEST_F(AttributeTest, WithoutInstanceCreationTheReadIsNullAfterTheCacheIsFilled) {
    host.faults["PluginNewInstance"].missingLookups = RecordingHost::kAlways;
    EXPECT_EQ(Read(), nullptr);
    EXPECT_EQ(object.fields[1], reinterpret_cast<ZEVAword>(attributes));
    EXPECT_EQ(attribute->references, 1u);
}

TEST_F(AttributeTest, RefusedInstanceReadsAsNullAndRetainsNothing) {
    host.unknownClasses = {"CIAttributeQOR"};
    EXPECT_EQ(Read(), nullptr);
    EXPECT_EQ(attribute->references, 1u);
}

TEST_F(AttributeTest, ExceptionPassesThroughUncaughtAndUnlogged) {
    for (const char* line : {"[filter attributes]", "[attributes objectForKey:inputRadius]"}) {
        host.messageFaults = {{line, Raise::kNSException}};
        host.TakeLog();
        EXPECT_EQ(ThrownBy([&] { Read(); }), TheException());
        for (const std::string& said : host.TakeLog()) EXPECT_EQ(said.rfind("NSLog", 0), std::string::npos) << said;
    }
    EXPECT_TRUE(host.raised.empty());
}

TEST_F(AttributeTest, EveryAttributePropertyDescribesItsOwnKey) {
    for (const CatalogueFilter& described : Catalogue()) {
        ZEVAobjectStruct fresh = MakeFilterObject(nil);
        Getter<void(ZEVAobjectStruct*)>(described.ClassName(), "Constructor")(&fresh);
        NSDictionary* all = [reinterpret_cast<CIFilter*>(fresh.fields[0]) attributes];
        [all autorelease];  // owned by the cache once the first attribute is read
        [reinterpret_cast<CIFilter*>(fresh.fields[0]) autorelease];
        for (const CatalogueProperty& property : described.properties) {
            NSDictionary* expected = [all objectForKey:[NSString stringWithUTF8String:property.key.c_str()]];
            const std::string declaration = "Attribute" + property.key + " as CIAttributeQOR";
            auto* get = Getter<ZEVAobjectStruct*(ZEVAobjectStruct*)>(described.ClassName(), declaration);
            ZEVAobjectStruct* read = get(&fresh);
            ASSERT_EQ(read == nullptr, expected == nil) << described.name << " " << property.key;
            if (read == nullptr) continue;
            EXPECT_TRUE([reinterpret_cast<NSDictionary*>(read->fields[0]) isEqual:expected]);
            EXPECT_EQ([reinterpret_cast<NSString*>(read->fields[1]) UTF8String], property.key);
            [reinterpret_cast<NSDictionary*>(read->fields[0]) release];
        }
    }
}

}  // namespace
