// ownership_test.mm - who holds what, for each property of the module, with real filters and real value objects.
//
// A property's value object is counted by the host, the platform object inside by Foundation. Every step is counted, and at the
// end all is as it was.

#import <Foundation/Foundation.h>

#include "bridge/host_objects.h"
#include "tests/boundary/catalogue.h"
#include "tests/support/catalogue_counts.h"
#include "tests/system/session.h"

namespace {

// The platform object inside a value object.
id WrappedIn(const host::Value& value) { return reinterpret_cast<ValueObject*>(ObjectOf(value))->wrapped; }

NSUInteger RetainsOf(id object) { return [object retainCount]; }

class OwnershipTest : public testing::Test {
  protected:
    // A value that the property takes, of the test's own.
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

    // Every property that holds an object: set, read twice, set to nil, dropped.
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
            EXPECT_EQ(RetainsOf(wrapped), retains + 1) << "the filter's own";
            {
                const host::Value first = session.Get(object, key), second = session.Get(object, key);
                EXPECT_NE(ObjectOf(first), ObjectOf(second));
                EXPECT_EQ(WrappedIn(first), wrapped);
                EXPECT_EQ(session.runtime.LiveObjects(), before + 4);
                EXPECT_EQ(RetainsOf(wrapped), retains + 3) << "one for each object read";
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

    // Numbers are nobody's: neither the host nor a value object comes into it.
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

    // Blocks are copied: the filter keeps none, and each read makes one.
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

    // Attributes: two objects on one dictionary, which the filter object keeps.
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

TEST_F(OwnershipTest, OfEveryPropertyBalancesAtEveryStep) {
    std::size_t properties = 0;
    for (const CatalogueFilter& filter : Catalogue()) {
        for (const auto& [key, typeWord] : filter.properties) {
            SCOPED_TRACE(filter.name + " " + key);
            ++properties;
            CheckAttribute(filter.ClassName(), key);
            if (key == "outputImage") continue;  // see OfRefusedWritesBalances
            typeWord == "double"        ? CheckNumber(filter.ClassName(), key)
            : typeWord == "memoryblock" ? CheckBlock(filter.ClassName(), key)
                                        : CheckObject(filter.ClassName(), key, typeWord);
        }
    }
    EXPECT_EQ(properties, CatalogueCount("properties"));
    EXPECT_EQ(Session::reports, std::vector<std::string>{});
}

TEST_F(OwnershipTest, OfRefusedWritesBalances) {
    const host::Value image = ValueFor("CIImageQOR");
    const NSUInteger retains = RetainsOf(WrappedIn(image));
    const std::int64_t before = session.runtime.LiveObjects();
    for (const CatalogueFilter& filter : Catalogue()) {
        EXPECT_TRUE(session.SetRaises(session.New(filter.ClassName()), "outputImage", image)) << filter.name;
        EXPECT_EQ(session.runtime.LiveObjects(), before) << filter.name;
        EXPECT_EQ(RetainsOf(WrappedIn(image)), retains) << filter.name;
    }
}

TEST_F(OwnershipTest, FilterObjectsGiveTheirFilterAndItsAttributesBack) {
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
