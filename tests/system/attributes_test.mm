// attributes_test.mm - every attribute of every key, read through the companion's typed properties and held against the data
// that the platform was made from.

#import <Foundation/Foundation.h>

#include "tests/boundary/catalogue.h"
#include "tests/support/catalogue_counts.h"
#include "tests/system/session.h"

namespace {

// attributes.json, as the test reads it.
NSDictionary* Described() {
    NSData* bytes = [NSData dataWithContentsOfFile:@ZEVA_ATTRIBUTES];
    return [NSJSONSerialization JSONObjectWithData:bytes options:0 error:nullptr];
}

class AttributesTest : public testing::Test {
  protected:
    bool Has(const host::Value& attribute, const std::string& property) {
        return std::get<bool>(session.Call(attribute, "Has", {host::TextValue(property)}));
    }

    std::string Text(const host::Value& attribute, const std::string& property) {
        const host::Value value = session.Get(attribute, property);
        return IsNil(value) ? "" : host::Describe(value);
    }

    // The numbers of a vector, color or transform.
    std::vector<double> NumbersIn(const host::Value& value, const std::string& property) {
        std::vector<double> numbers;
        const auto read = [&](std::initializer_list<const char*> names) {
            for (const char* name : names) numbers.push_back(session.Number(value, name));
        };
        if (property.find("Color") != std::string::npos) read({"Red", "Green", "Blue", "Alpha"});
        if (property.find("Transform") != std::string::npos) read({"A", "B", "C", "D", "TX", "TY"});
        if (property.find("Vector") == std::string::npos) return numbers;
        const auto count = std::get<std::int32_t>(session.Get(value, "Count"));
        for (std::int32_t i = 0; i < count; ++i) {
            numbers.push_back(std::get<double>(session.Call(value, "ValueAt", {i})));
        }
        return numbers;
    }

    // A default or identity value, whatever its kind.
    void CheckValue(const host::Value& attribute, const std::string& name, id expected, NSString* valueClass) {
        const std::map<std::string, std::string> suffixes{{"NSNumber", ""},
                                                          {"CIVector", "Vector"},
                                                          {"CIColor", "Color"},
                                                          {"NSAffineTransform", "Transform"},
                                                          {"NSData", "Data"}};
        for (const auto& [kind, suffix] : suffixes) {
            const bool isOfKind = expected != nil && kind == [valueClass UTF8String];
            EXPECT_EQ(Has(attribute, name + suffix), isOfKind) << name << suffix;
            if (!isOfKind) continue;
            const host::Value value = session.Get(attribute, name + suffix);
            if (kind == "NSNumber") {
                EXPECT_NEAR(std::get<double>(value), [expected doubleValue], 1e-6);
            } else if (kind == "NSData") {
                EXPECT_FALSE(IsNil(value));
            } else {
                CheckNumbers(NumbersIn(value, name + suffix), expected);
            }
        }
    }

    void CheckNumbers(const std::vector<double>& numbers, NSArray* expected) {
        ASSERT_EQ(numbers.size(), [expected count]);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const double wanted = [[expected objectAtIndex:i] doubleValue];
            // The infinite rectangle is rounded in the data, and as large as the platform's numbers go.
            if (std::abs(wanted) > 1e300) {
                EXPECT_GT(std::abs(numbers[i]), 1e38);
                EXPECT_EQ(std::signbit(numbers[i]), std::signbit(wanted));
            } else {
                EXPECT_NEAR(numbers[i], wanted, 1e-6);
            }
        }
    }

    // One key: its typed properties against its dictionary.
    void CheckKey(const host::Value& attribute, NSDictionary* expected) {
        for (const char* name : {"Class", "Type", "DisplayName"}) {
            const std::string property = std::string(name) == "DisplayName" ? name : std::string("Attribute") + name;
            NSString* text = [expected objectForKey:[NSString stringWithFormat:@"CIAttribute%s", name]];
            EXPECT_EQ(Has(attribute, property), text != nil) << property;
            if (text != nil) EXPECT_EQ(Text(attribute, property), "string \"" + std::string([text UTF8String]) + "\"");
        }
        for (const char* name : {"Min", "Max", "SliderMin", "SliderMax"}) {
            NSNumber* number = [expected objectForKey:[NSString stringWithFormat:@"CIAttribute%s", name]];
            EXPECT_EQ(Has(attribute, name), number != nil) << name;
            if (number != nil) EXPECT_NEAR(session.Number(attribute, name), [number doubleValue], 1e-6) << name;
        }
        for (const char* name : {"Default", "Identity"}) {
            id value = [expected objectForKey:[NSString stringWithFormat:@"CIAttribute%s", name]];
            CheckValue(attribute, name, value, [expected objectForKey:@"CIAttributeClass"]);
        }
    }

    Session session;
};

TEST_F(AttributesTest, OfEveryKeyAreReadableByType) {
    NSDictionary* described = Described();
    std::size_t keys = 0;
    for (const CatalogueFilter& filter : Catalogue()) {
        NSDictionary* expectedKeys = [[described
            objectForKey:[NSString stringWithUTF8String:("CI" + filter.name).c_str()]] objectForKey:@"keys"];
        const host::Value object = session.New(filter.ClassName());
        for (const auto& [key, typeWord] : filter.properties) {
            SCOPED_TRACE(filter.name + " " + key);
            NSDictionary* expected = [expectedKeys objectForKey:[NSString stringWithUTF8String:key.c_str()]];
            const host::Value attribute = session.Get(object, "Attribute" + key);
            ASSERT_EQ(IsNil(attribute), expected == nil);
            if (expected == nil) continue;
            ++keys;
            EXPECT_EQ(Text(attribute, "Key"), "string \"" + key + "\"");
            CheckKey(attribute, expected);
        }
    }
    EXPECT_EQ(keys, CatalogueCount("properties") - CatalogueCount("classes")) << "every key but the output images";
}

}  // namespace
