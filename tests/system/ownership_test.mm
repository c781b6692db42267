// ownership_test.mm - the references to every property value, with real filters and value objects.
//
// The host counts the references to a value object, Foundation those to the platform object inside. The tests check
// both counts after each step, and that the counts at the end equal those at the start.

#import <Foundation/Foundation.h>

#include <cstdint>
#include <string>
#include <vector>

#include "bridge/host_objects.h"
#include "tests/boundary/catalogue.h"
#include "tests/support/catalogue_counts.h"
#include "tests/system/session.h"

namespace {

// Returns the platform object inside a value object.
id WrappedIn(const host::Value& value) { return reinterpret_cast<ValueObject*>(ObjectOf(value))->wrapped; }

NSUInteger RetainsOf(id object) { return [object retainCount]; }

class OwnershipTest : public testing::Test {
  protected:
    // Creates a value that a property of the type takes.
    host::Value ValueFor(const std::string& typeWord) {
        const host::Value one = 1.0;
        const std::vector<host::Value> four{one, one, one, one}, six{one, one, one, one, one, one};
        const std::vector<host::Value> space{host::TextValue("SRGB")};
        if (typeWord == "CIImageQOR")
            return session.Get(session.New("CIFilterConstantColorGeneratorQOR"), "outputImage");
        if (typeWord == "CIVectorQOR") return session.Rectangle(1, 2, 3, 4);
        if (typeWord == "CIColorQOR") return session.runtime.CallShared("CIColorQOR", "RGBA", four);
        if (typeWord == "NSAffineTransformQOR") return session.runtime.CallShared("NSAffineTransformQOR", "Make", six);
        if (typeWord == "CGColorSpaceQOR") return session.runtime.CallShared("CGColorSpaceQOR", "Named", space);
        return session.Get(session.New("CIFilterColorCubeQOR"), "inputCubeData");
    }

    // Sets a property that holds an object, reads it twice, sets it to nil and drops the filter.
    void CheckObject(const std::string& className, const std::string& key, const std::string& typeWord) {
        const std::int64_t before = session.runtime.LiveObjects();
        {
            const host::Value object = session.New(className);
            const host::Value value = ValueFor(typeWord);
            EXPECT_EQ(session.runtime.LiveObjects(), before + 2);
            id wrapped = WrappedIn(value);
            const NSUInteger retains = RetainsOf(wrapped);
            session.Set(object, key, value);
            EXPECT_EQ(session.runtime.LiveObjects(), before + 2) << "the setter takes no reference";
            EXPECT_EQ(RetainsOf(wrapped), retains + 1) << "the reference of the filter";
            {
                const host::Value first = session.Get(object, key), second = session.Get(object, key);
                EXPECT_NE(ObjectOf(first), ObjectOf(second));
                EXPECT_EQ(WrappedIn(first), wrapped);
                EXPECT_EQ(session.runtime.LiveObjects(), before + 4);
                EXPECT_EQ(RetainsOf(wrapped), retains + 3) << "one for each object that was read";
            }
            EXPECT_EQ(session.runtime.LiveObjects(), before + 2);
            EXPECT_EQ(RetainsOf(wrapped), retains + 1);
            session.Set(object, key, {});
            const bool cleared = typeWord == "CGColorSpaceQOR";
            EXPECT_EQ(IsNil(session.Get(object, key)), cleared);
            EXPECT_EQ(RetainsOf(wrapped), retains + (cleared ? 0 : 1));
        }
        EXPECT_EQ(session.runtime.LiveObjects(), before);
    }

    // Numbers create no objects.
    void CheckNumber(const std::string& className, const std::string& key) {
        const std::int64_t before = session.runtime.LiveObjects();
        {
            const host::Value object = session.New(className);
            session.Set(object, key, 2.5);
            EXPECT_EQ(session.Number(object, key), 2.5);
            EXPECT_EQ(session.Number(object, key), 2.5);
            EXPECT_EQ(session.runtime.LiveObjects(), before + 1);
        }
        EXPECT_EQ(session.runtime.LiveObjects(), before);
    }

    // Blocks are copied: the filter keeps no block, and each read creates one.
    void CheckBlock(const std::string& className, const std::string& key) {
        const std::int64_t before = session.runtime.LiveObjects();
        {
            const host::Value object = session.New(className), block = ValueFor("memoryblock");
            EXPECT_EQ(session.runtime.LiveObjects(), before + 2);
            session.Set(object, key, block);
            EXPECT_EQ(ObjectOf(block)->references, 1) << "locked and unlocked";
            {
                const host::Value first = session.Get(object, key), second = session.Get(object, key);
                EXPECT_NE(ObjectOf(first), ObjectOf(second));
                EXPECT_NE(ObjectOf(first), ObjectOf(block));
                EXPECT_EQ(session.runtime.LiveObjects(), before + 4);
            }
            session.Set(object, key, {});
            EXPECT_FALSE(IsNil(session.Get(object, key)));
        }
        EXPECT_EQ(session.runtime.LiveObjects(), before);
    }

    // Two reads of an attribute return two objects with the same dictionary, which the filter object keeps.
    void CheckAttribute(const std::string& className, const std::string& key) {
        const std::int64_t before = session.runtime.LiveObjects();
        {
            const host::Value object = session.New(className);
            const host::Value first = session.Get(object, "Attribute" + key);
            if (IsNil(first)) return;
            const host::Value second = session.Get(object, "Attribute" + key);
            EXPECT_NE(ObjectOf(first), ObjectOf(second));
            EXPECT_EQ(WrappedIn(first), WrappedIn(second));
            EXPECT_EQ(session.runtime.LiveObjects(), before + 3);
        }
        EXPECT_EQ(session.runtime.LiveObjects(), before);
    }

    Session session;
};

TEST_F(OwnershipTest, EveryPropertyBalancesAtEveryStep) {
    std::size_t properties = 0;
    for (const CatalogueFilter& filter : Catalogue()) {
        for (const auto& [key, typeWord] : filter.properties) {
            SCOPED_TRACE(filter.name + " " + key);
            ++properties;
            CheckAttribute(filter.ClassName(), key);
            if (key == "outputImage") continue;  // see RefusedWritesBalance
            typeWord == "double"        ? CheckNumber(filter.ClassName(), key)
            : typeWord == "memoryblock" ? CheckBlock(filter.ClassName(), key)
                                        : CheckObject(filter.ClassName(), key, typeWord);
        }
    }
    EXPECT_EQ(properties, CatalogueCount("properties"));
    EXPECT_EQ(Session::reports, std::vector<std::string>{});
}

TEST_F(OwnershipTest, RefusedWritesBalance) {
    const host::Value image = ValueFor("CIImageQOR");
    const NSUInteger retains = RetainsOf(WrappedIn(image));
    const std::int64_t before = session.runtime.LiveObjects();
    for (const CatalogueFilter& filter : Catalogue()) {
        EXPECT_TRUE(session.SetRaises(session.New(filter.ClassName()), "outputImage", image)) << filter.name;
        EXPECT_EQ(session.runtime.LiveObjects(), before) << filter.name;
        EXPECT_EQ(RetainsOf(WrappedIn(image)), retains) << filter.name;
    }
}

TEST_F(OwnershipTest, FilterObjectsReleaseTheirFilterAndAttributes) {
    host::Value object = session.New("CIFilterBloomQOR");
    session.Get(object, "AttributeinputRadius");
    auto* fields = reinterpret_cast<FilterObject*>(ObjectOf(object));
    id filter = [reinterpret_cast<id>(fields->filter) retain];
    id attributes = [fields->attributeCache retain];
    const NSUInteger filterRetains = RetainsOf(filter), attributesRetains = RetainsOf(attributes);
    EXPECT_EQ(filterRetains, 2u);
    object = {};
    EXPECT_EQ(RetainsOf(filter), filterRetains - 1);
    [filter release];
    EXPECT_LT(RetainsOf(attributes), attributesRetains);
    [attributes release];
}

}  // namespace
