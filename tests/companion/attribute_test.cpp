// attribute_test.cpp - what filters say of their keys, and the exceptions of the platform.

#include <cstring>
#include <fstream>

#include "host/runtime/memory_block.h"
#include "tests/companion/companion_test.h"
#include "tests/companion/platform_side.h"
#include "tests/support/catalogue_counts.h"

namespace {

using host::ObjectReference;
using host::TextValue;
using host::Value;

class AttributeTest : public CompanionTest {
  protected:
    ObjectReference Attribute(const char* filter, const char* key) {
        return Object(host.Construct(filter), (std::string("Attribute") + key).c_str());
    }

    bool Has(const ObjectReference& attribute, const char* property) {
        const Value name[] = {TextValue(property)};
        return std::get<bool>(host.Call(attribute.Get(), "Has", name));
    }
};

TEST_F(AttributeTest, ANumbersKeyHasTextAndNumbers) {
    const auto radius = Attribute("CIFilterGaussianBlurQOR", "inputRadius");
    EXPECT_EQ(Text(radius, "Key"), "inputRadius");
    EXPECT_EQ(Text(radius, "AttributeClass"), "NSNumber");
    EXPECT_EQ(Text(radius, "AttributeType"), "CIAttributeTypeScalar");
    EXPECT_EQ(Text(radius, "DisplayName"), "Radius");
    EXPECT_EQ(Number(radius, "Default"), 10);
    EXPECT_EQ(Number(radius, "Min"), 0);
    EXPECT_EQ(Number(radius, "SliderMax"), 100);
}

TEST_F(AttributeTest, HasTellsAnAbsentNumberFromZero) {
    const auto radius = Attribute("CIFilterGaussianBlurQOR", "inputRadius");
    EXPECT_TRUE(Has(radius, "Min"));
    EXPECT_FALSE(Has(radius, "Max"));
    EXPECT_EQ(Number(radius, "Max"), 0);
    EXPECT_FALSE(Has(radius, "DefaultVector"));
    EXPECT_TRUE(Has(radius, "DisplayName"));
}

TEST_F(AttributeTest, HasRefusesANameThatIsNoProperty) {
    const auto radius = Attribute("CIFilterGaussianBlurQOR", "inputRadius");
    EXPECT_EQ(TextOfError([&] { Has(radius, "Sigma"); }),
              "RuntimeException: CIAttributeQOR.Has: there is no property \"Sigma\"");
}

TEST_F(AttributeTest, DefaultsOfOtherKindsComeAsObjects) {
    const auto center = Attribute("CIFilterBumpDistortionQOR", "inputCenter");
    EXPECT_EQ(Numbers(Object(center, "DefaultVector")), (std::vector<double>{150, 150}));
    EXPECT_FALSE(Object(center, "DefaultColor"));
    EXPECT_EQ(Number(center, "Default"), 0);
    const auto color = Attribute("CIFilterConstantColorGeneratorQOR", "inputColor");
    EXPECT_EQ(Number(Object(color, "DefaultColor"), "Red"), 1);
    const auto transform = Attribute("CIFilterAffineTransformQOR", "inputTransform");
    EXPECT_EQ(Number(Object(transform, "DefaultTransform"), "D"), 1);
    EXPECT_EQ(Number(Object(transform, "IdentityTransform"), "B"), 0);
}

TEST_F(AttributeTest, RawBytesComeAsAMemoryBlock) {
    const auto block = Object(Attribute("CIFilterColorCubeQOR", "inputCubeData"), "DefaultData");
    const auto* bytes = reinterpret_cast<const ZEVAmemoryBlockStruct*>(block.Get());
    ASSERT_EQ(bytes->size, 128);
    float second[4];
    std::memcpy(second, bytes->bytes + sizeof second, sizeof second);
    EXPECT_EQ(second[0], 1);
    EXPECT_EQ(second[1], 0);
}

// How many keys, over all filters, have a default in attributes.json. Each key is on a line of its own there.
std::size_t DefaultsInThePlatformsData() {
    std::ifstream file(ZEVA_ATTRIBUTES);
    std::size_t defaults = 0;
    for (std::string line; std::getline(file, line);) defaults += line.find("\"CIAttributeDefault\"") != line.npos;
    return defaults;
}

// Every default in the data must be readable through exactly one typed property.
TEST_F(AttributeTest, EveryDefaultOfEveryKeyCanBeRead) {
    std::size_t keys = 0, defaults = 0;
    for (const host::Class* each : host.Modules()[1]->classes) {
        const auto filter = host.Construct(each->Name());
        for (const host::Member& member : each->Members()) {
            if (member.declaration.result.className != "CIAttributeQOR") continue;
            const auto attribute = Object(filter, member.declaration.name.c_str());
            if (!attribute) continue;
            ++keys;
            EXPECT_EQ("Attribute" + Text(attribute, "Key"), member.declaration.name);
            for (const char* name : {"Default", "DefaultVector", "DefaultColor", "DefaultTransform", "DefaultData"}) {
                defaults += Has(attribute, name);
            }
        }
    }
    EXPECT_EQ(keys, CatalogueCount("properties") - CatalogueCount("classes")) << "every key but the output images";
    EXPECT_EQ(defaults, DefaultsInThePlatformsData());
}

TEST_F(AttributeTest, APlatformExceptionBecomesAHostExceptionWithItsText) {
    auto exception = ObjectReference::Adopt(NewHostExceptionFrom("NSRangeException", "Grüße", false));
    EXPECT_EQ(exception->references, 1);
    EXPECT_TRUE(exception->isa->IsA("RuntimeException"));
    EXPECT_EQ(exception->isa->Name(), "NSExceptionQOR");
    EXPECT_EQ(Text(exception, "Message"), "NSRangeException: Grüße");
    exception = ObjectReference::Adopt(NewHostExceptionFrom("NSRangeException", "why", true));
    EXPECT_EQ(Text(exception, "Message"), "NSRangeException: why {key = value; }");
}

TEST_F(AttributeTest, AWriteThatTheFilterRefusesArrivesAsAHostException) {
    const auto filter = host.Construct("CIFilterGaussianBlurQOR");
    const auto image = Open(File("picture.png", Picture()));
    const std::string text = TextOfError([&] { host.Set(filter.Get(), "outputImage", image); });
    EXPECT_TRUE(text.starts_with("NSExceptionQOR: NSUnknownKeyException: [<")) << text;
    EXPECT_TRUE(text.find("outputImage") != std::string::npos) << text;
}

}  // namespace
