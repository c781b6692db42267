// keys_test.mm - every accessor of the module passes its own key on, as a constant that all classes share.

#include <map>
#include <set>

#include "tests/boundary/boundary_test.h"
#include "tests/boundary/catalogue.h"
#include "tests/boundary/recording_objects.h"
#include "tests/support/catalogue_counts.h"

namespace {

// A filter that knows only which key it was asked for last.
id lastKey = nil;

}  // namespace

@interface KeyKeeper : NSObject
@end

@implementation KeyKeeper
- (id)valueForKey:(NSString*)key {
    lastKey = key;
    return nil;
}
- (void)setValue:(id)value forKey:(NSString*)key {
    (void)value;
    lastKey = key;
}
- (id)attributes {
    return self;
}
- (id)objectForKey:(id)key {
    lastKey = key;
    return nil;
}
@end

namespace {

TEST_F(BoundaryTest, All960AccessorsPassTheirOwnKeyAsOneSharedConstant) {
    Enter();
    ZEVAobjectStruct object = MakeFilterObject([[[KeyKeeper alloc] init] autorelease]);
    ZEVAobjectStruct* value = host.NewObject("CIImageQOR");
    value->fields[0] = reinterpret_cast<ZEVAword>(@"wrapped");
    ZEVAmemoryBlockStruct* block = host.NewBlock(4);
    std::map<std::string, std::set<id>> constants;
    std::size_t accessors = 0;
    const auto passed = [&](const std::string& key) {
        ASSERT_NE(lastKey, nil) << key;
        EXPECT_EQ([lastKey UTF8String], key);
        constants[key].insert(lastKey);
        lastKey = nil;
        ++accessors;
    };
    for (const CatalogueFilter& filter : Catalogue()) {
        for (const auto& [key, typeWord] : filter.properties) {
            const ZEVAmethodDownLevel& method = Method(filter.ClassName(), key + " as " + typeWord);
            if (typeWord == "double") {
                reinterpret_cast<double (*)(ZEVAobjectStruct*)>(method.function)(&object);
                passed(key);
                reinterpret_cast<void (*)(ZEVAobjectStruct*, double)>(method.setter)(&object, 1.0);
            } else {
                void* written = typeWord == "memoryblock" ? static_cast<void*>(block) : value;
                reinterpret_cast<void* (*)(ZEVAobjectStruct*)>(method.function)(&object);
                passed(key);
                reinterpret_cast<void (*)(ZEVAobjectStruct*, void*)>(method.setter)(&object, written);
            }
            passed(key);
            Getter<ZEVAobjectStruct*(ZEVAobjectStruct*)>(filter.ClassName(),
                                                         "Attribute" + key + " as CIAttributeQOR")(&object);
            passed(key);
        }
    }
    [reinterpret_cast<id>(object.fields[1]) release];  // the attribute cache
    EXPECT_EQ(accessors, 3 * CatalogueCount("properties"));
    EXPECT_EQ(constants.size(), CatalogueCount("keys"));
    for (const auto& [key, addresses] : constants) EXPECT_EQ(addresses.size(), 1u) << key;
}

}  // namespace
