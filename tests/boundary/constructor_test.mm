// constructor_test.mm - the constructors, with Core Image's own filters and with recording ones in their place.

#import <CoreImage/CoreImage.h>

#include "interface/text_encoding.h"
#include "tests/boundary/boundary_test.h"
#include "tests/boundary/catalogue.h"
#include "tests/boundary/recording_objects.h"
#include "tests/boundary/replaced_method.h"

namespace {

using Constructor = void(ZEVAobjectStruct*);

CIFilter* FilterIn(const ZEVAobjectStruct& object) { return reinterpret_cast<CIFilter*>(object.fields[0]); }

class ConstructorTest : public BoundaryTest {
  protected:
    ConstructorTest() { Enter(); }
    ~ConstructorTest() override { [FilterIn(object) release]; }

    ZEVAobjectStruct object = MakeFilterObject(nil);
    CapturedLog captured;
};

TEST_F(ConstructorTest, GivesEveryClassItsFilterWithDefaultsAndOneRetain) {
    for (const CatalogueFilter& filter : Catalogue()) {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        ZEVAobjectStruct fresh = MakeFilterObject(nil);
        Getter<Constructor>(filter.ClassName(), "Constructor")(&fresh);
        CIFilter* made = FilterIn(fresh);
        ASSERT_NE(made, nil) << filter.name;
        EXPECT_EQ(std::string([[made name] UTF8String]), "CI" + filter.name);
        for (NSString* key in [made inputKeys]) {
            id expected = [[[made attributes] objectForKey:key] objectForKey:kCIAttributeDefault];
            EXPECT_TRUE(expected == nil || [[made valueForKey:key] isEqual:expected])
                << filter.name << " " << [key UTF8String];
        }
        EXPECT_EQ(fresh.fields[1], 0) << "the constructor filled the attribute cache";
        [pool drain];
        EXPECT_EQ([made retainCount], 1u) << filter.name;
        [made release];
    }
}

TEST_F(ConstructorTest, SecondCallRaisesAndKeepsTheFilter) {
    auto* construct = Getter<Constructor>("CIFilterBloomQOR", "Constructor");
    construct(&object);
    CIFilter* first = FilterIn(object);
    const NSUInteger references = [first retainCount];
    host.TakeLog();
    construct(&object);
    EXPECT_EQ(FilterIn(object), first);
    EXPECT_EQ([first retainCount], references);
    ASSERT_EQ(host.raised.size(), 1u);
    EXPECT_EQ(host.raised[0].className, "UnsupportedOperationException");
    EXPECT_EQ(host.raised[0].message, "Constructor called too often. Object is already initialized.");
    EXPECT_EQ(host.raised[0].errorNumber, 0);
    EXPECT_EQ(host.raised[0].encoding, kEncodingAscii);
}

RecordingObject* madeByFactory = nil;

id FilterWithName(id, SEL, NSString* name) {
    RecordingHost::Current().Log(std::string("[CIFilter filterWithName:") + [name UTF8String] + "]");
    return madeByFactory;
}

// Replaces +[CIFilter filterWithName:] during its lifetime by a method that returns the given object.
class ReplacedFilterFactory : ReplacedMethod {
  public:
    explicit ReplacedFilterFactory(RecordingObject* made)
        : ReplacedMethod([CIFilter class], @selector(filterWithName:), reinterpret_cast<IMP>(&FilterWithName)) {
        madeByFactory = made;
    }
};

TEST_F(ConstructorTest, AsksForTheFilterRetainsStoresAndSetsDefaultsInThisOrder) {
    RecordingObject* filter = [RecordingObject named:"filter"];
    ReplacedFilterFactory factory(filter);
    Getter<Constructor>("CIFilterCMYKHalftoneQOR", "Constructor")(&object);
    EXPECT_EQ(host.TakeLog(),
              (Lines{"[CIFilter filterWithName:CICMYKHalftone]", "[filter retain]", "[filter setDefaults]"}));
    EXPECT_EQ(object.fields[0], reinterpret_cast<ZEVAword>(filter));
    EXPECT_EQ(filter->references, 2u);
}

TEST_F(ConstructorTest, UnknownFilterNameLeavesNoFilterSilentlyAndALaterCallTriesAgain) {
    auto* construct = Getter<Constructor>("CIFilterBloomQOR", "Constructor");
    {
        ReplacedFilterFactory none(nil);
        construct(&object);
        EXPECT_EQ(host.TakeLog(), Lines{"[CIFilter filterWithName:CIBloom]"});
        EXPECT_EQ(FilterIn(object), nil);
    }
    construct(&object);
    EXPECT_NE(FilterIn(object), nil);
    EXPECT_TRUE(host.raised.empty());
}

TEST_F(ConstructorTest, ExceptionFromSetDefaultsPassesThroughAndTheFilterIsStored) {
    RecordingObject* filter = [RecordingObject named:"filter"];
    host.messageFaults["[filter setDefaults]"] = Raise::kNSException;
    ReplacedFilterFactory factory(filter);
    auto* construct = Getter<Constructor>("CIFilterBloomQOR", "Constructor");
    EXPECT_EQ(ThrownBy([&] { construct(&object); }), TheException());
    EXPECT_EQ(object.fields[0], reinterpret_cast<ZEVAword>(filter));
    EXPECT_TRUE(host.raised.empty());
}

TEST_F(ConstructorTest, UnknownKeyOfARealFilterLogsOneLineAndRaisesOneHostException) {
    conversion = Conversion::kWorks;
    Getter<Constructor>("CIFilterBloomQOR", "Constructor")(&object);
    host.TakeLog();
    // An accessor of another class, for a key that this filter lacks.
    EXPECT_EQ(Getter<double(ZEVAobjectStruct*)>("CIFilterDrosteQOR", "inputStrands as double")(&object), 0.0);
    const Lines log = host.TakeLog();
    ASSERT_EQ(log.size(), 6u);
    EXPECT_EQ(log[0].rfind("NSLog A NSUnknownKeyException: ", 0), 0u) << log[0];
    EXPECT_EQ(host.raised.size(), 1u);
}

}  // namespace
