// objects_test.mm - the object bridges: images, colors, vectors, transforms and color spaces.

#include "tests/boundary/boundary_test.h"
#include "tests/boundary/recording_objects.h"

namespace {

// One property of each object type, on a class that has it.
struct Property {
    const char* typeWord;
    const char* filterClass;
    const char* key;
};

const Property kImage{"CIImageQOR", "CIFilterBloomQOR", "inputImage"};
const Property kColorSpace{"CGColorSpaceQOR", "CIFilterColorCubeWithColorSpaceQOR", "inputColorSpace"};
const Property kPlain[] = {kImage,
                           {"CIColorQOR", "CIFilterFalseColorQOR", "inputColor0"},
                           {"CIVectorQOR", "CIFilterCropQOR", "inputRectangle"},
                           {"NSAffineTransformQOR", "CIFilterAffineTileQOR", "inputTransform"}};

class ObjectsTest : public BoundaryTest {
  protected:
    ObjectsTest() { Enter(); }

    ZEVAobjectStruct* Read(const Property& property) {
        return Getter<ZEVAobjectStruct*(ZEVAobjectStruct*)>(property.filterClass, Declaration(property))(&object);
    }

    void Write(const Property& property, ZEVAobjectStruct* written) {
        Setter<void(ZEVAobjectStruct*, ZEVAobjectStruct*)>(property.filterClass, Declaration(property))(&object,
                                                                                                        written);
    }

    static std::string Declaration(const Property& property) {
        return std::string(property.key) + " as " + property.typeWord;
    }

    // A host value object that wraps the Objective-C object.
    ZEVAobjectStruct* Wrapping(const Property& property, id wrapped) {
        ZEVAobjectStruct* wrapper = host.NewObject(property.typeWord);
        wrapper->fields[0] = reinterpret_cast<ZEVAword>(wrapped);
        return wrapper;
    }

    RecordingObject* filter = [RecordingObject named:"filter"];
    RecordingObject* value = [RecordingObject named:"value"];
    ZEVAobjectStruct object = MakeFilterObject(filter);
    CapturedLog captured;
};

class PlainObjectsTest : public ObjectsTest, public testing::WithParamInterface<Property> {};

TEST_P(PlainObjectsTest, GetterReadsThenCreatesThenRetainsInThisOrder) {
    filter->reply = value;
    ZEVAobjectStruct* read = Read(GetParam());
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(host.TakeLog(),
              (Lines{std::string("[filter valueForKey:") + GetParam().key + "]", "resolve PluginNewInstance",
                     std::string("PluginNewInstance ") + GetParam().typeWord, "[value retain]"}));
    EXPECT_EQ(read->fields[0], reinterpret_cast<ZEVAword>(value));
    EXPECT_EQ(read->references, 1);
    EXPECT_EQ(value->references, 2u);
}

TEST_P(PlainObjectsTest, TwoReadsGiveTwoObjectsWithARetainEach) {
    filter->reply = value;
    EXPECT_NE(Read(GetParam()), Read(GetParam()));
    EXPECT_EQ(value->references, 3u);
    EXPECT_EQ(host.LookupsOf("PluginNewInstance"), 1);
}

TEST_P(PlainObjectsTest, NilReplyReadsAsNullAndCreatesNothing) {
    EXPECT_EQ(Read(GetParam()), nullptr);
    EXPECT_EQ(host.LookupsOf("PluginNewInstance"), 0);
    EXPECT_TRUE(host.raised.empty());
}

TEST_P(PlainObjectsTest, WithoutInstanceCreationTheReadIsNullAndTheNextReadLooksAgain) {
    host.faults["PluginNewInstance"].missingLookups = 1;
    filter->reply = value;
    EXPECT_EQ(Read(GetParam()), nullptr);
    EXPECT_EQ(host.LookupsOf("PluginNewInstance"), 1);
    EXPECT_EQ(value->references, 1u);
    EXPECT_NE(Read(GetParam()), nullptr);
    EXPECT_EQ(host.LookupsOf("PluginNewInstance"), 2);
}

TEST_P(PlainObjectsTest, UnknownValueClassReadsAsNullAndRetainsNothing) {
    host.unknownClasses = {GetParam().typeWord};
    filter->reply = value;
    EXPECT_EQ(Read(GetParam()), nullptr);
    EXPECT_EQ(value->references, 1u);
    EXPECT_TRUE(host.raised.empty());
}

TEST_P(PlainObjectsTest, SetterHandsOverTheWrappedObjectAndTakesNothing) {
    Write(GetParam(), Wrapping(GetParam(), value));
    EXPECT_EQ(host.TakeLog(), Lines{std::string("[filter setValue:forKey:value, ") + GetParam().key + "]"});
    EXPECT_EQ(value->references, 1u);
    EXPECT_EQ(host.objects[0]->references, 1);
}

TEST_P(PlainObjectsTest, SettingNullOrAnEmptyWrapperLeavesTheKeyAlone) {
    Write(GetParam(), nullptr);
    Write(GetParam(), Wrapping(GetParam(), nil));
    EXPECT_EQ(host.TakeLog(), Lines{});
}

TEST_P(PlainObjectsTest, ObjectWithoutFilterReadsAsNullAndIgnoresWrites) {
    object = MakeFilterObject(nil);
    EXPECT_EQ(Read(GetParam()), nullptr);
    Write(GetParam(), Wrapping(GetParam(), value));
    EXPECT_EQ(host.TakeLog(), Lines{});
}

INSTANTIATE_TEST_SUITE_P(Types, PlainObjectsTest, testing::ValuesIn(kPlain),
                         [](const auto& test) { return test.param.typeWord; });

TEST_F(ObjectsTest, ImageGetterClearsTheCGImageWhateverTheConstructorLeft) {
    static bool dirty;
    dirty = false;
    host.onNewObject = [](ZEVAobjectStruct* made) {
        made->fields[1] = 0x1234;
        dirty = true;
    };
    filter->reply = value;
    ZEVAobjectStruct* image = Read(kImage);
    EXPECT_TRUE(dirty);
    EXPECT_EQ(image->fields[1], 0);
}

TEST_F(ObjectsTest, OtherGettersTouchTheFirstFieldOnly) {
    host.onNewObject = [](ZEVAobjectStruct* made) { made->fields[1] = made->fields[2] = 0x1234; };
    filter->reply = value;
    for (const Property& property : kPlain) {
        if (property.typeWord == kImage.typeWord) continue;
        ZEVAobjectStruct* read = Read(property);
        EXPECT_EQ(read->fields[1], 0x1234) << property.typeWord;
        EXPECT_EQ(read->fields[2], 0x1234) << property.typeWord;
    }
}

TEST_F(ObjectsTest, SettersTakeTheFirstFieldOfWhateverObjectTheHostPasses) {
    ZEVAobjectStruct* other = host.NewObject("SomethingElse");
    other->fields[0] = reinterpret_cast<ZEVAword>(value);
    for (const Property& property : kPlain) {
        Write(property, other);
        EXPECT_EQ(filter->received, value) << property.typeWord;
        filter->received = nil;
    }
}

TEST_F(ObjectsTest, GettersWrapWhateverTheFilterHolds) {
    filter->reply = @"no image, no color, no vector";
    for (const Property& property : kPlain) {
        ZEVAobjectStruct* read = Read(property);
        EXPECT_STREQ(read->className, property.typeWord);
        EXPECT_EQ(reinterpret_cast<id>(read->fields[0]), filter->reply);
    }
}

TEST_F(ObjectsTest, OutputImageHasASetterThatReachesTheFilterLikeAnyOther) {
    const Property output{"CIImageQOR", "CIFilterBloomQOR", "outputImage"};
    Write(output, Wrapping(output, value));
    EXPECT_EQ(host.TakeLog(), Lines{"[filter setValue:forKey:value, outputImage]"});
}

TEST_F(ObjectsTest, ColorSpaceGetterReadsThenCreatesThenRetains) {
    filter->reply = value;
    ZEVAobjectStruct* read = Read(kColorSpace);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(host.TakeLog(), (Lines{"[filter valueForKey:inputColorSpace]", "resolve PluginNewInstance",
                                     "PluginNewInstance CGColorSpaceQOR", "[value retain]"}));
    EXPECT_EQ(read->fields[0], reinterpret_cast<ZEVAword>(value));
    EXPECT_EQ(static_cast<std::uint32_t>(read->fields[2]), 0x5A564346u);
}

TEST_F(ObjectsTest, ColorSpaceFallsBackToTheGenericWrapper) {
    host.unknownClasses = {"CGColorSpaceQOR"};
    filter->reply = value;
    ZEVAobjectStruct* read = Read(kColorSpace);
    ASSERT_NE(read, nullptr);
    EXPECT_STREQ(read->className, "CFObjectQOR");
    EXPECT_EQ(read->fields[0], reinterpret_cast<ZEVAword>(value));
    EXPECT_EQ(value->references, 2u);
}

TEST_F(ObjectsTest, ColorSpaceWithNeitherWrapperReadsAsNull) {
    host.unknownClasses = {"CGColorSpaceQOR", "CFObjectQOR"};
    filter->reply = value;
    EXPECT_EQ(Read(kColorSpace), nullptr);
    EXPECT_EQ(host.CallsOf("PluginNewInstance"), 2);
    EXPECT_EQ(value->references, 1u);
}

TEST_F(ObjectsTest, ColorSpaceGetterAsksForInstanceCreationOnceWhereItIsMissing) {
    host.faults["PluginNewInstance"].missingLookups = 1;
    filter->reply = value;
    EXPECT_EQ(Read(kColorSpace), nullptr);
    EXPECT_EQ(host.LookupsOf("PluginNewInstance"), 1);
}

TEST_F(ObjectsTest, ColorSpaceWrapperWithoutItsTagIsDroppedUnreleased) {
    host.setsCoreFoundationTag = false;
    filter->reply = value;
    EXPECT_EQ(Read(kColorSpace), nullptr);
    ASSERT_EQ(host.objects.size(), 1u);
    EXPECT_EQ(host.objects[0]->references, 1);
    EXPECT_EQ(host.objects[0]->fields[0], 0);
    EXPECT_EQ(host.CallsOf("ZEVAUnlockObject"), 0);
    EXPECT_EQ(value->references, 1u);
}

TEST_F(ObjectsTest, SettingNullOrAnEmptyWrapperClearsTheColorSpace) {
    Write(kColorSpace, nullptr);
    Write(kColorSpace, Wrapping(kColorSpace, nil));
    Write(kColorSpace, Wrapping(kColorSpace, value));
    EXPECT_EQ(host.TakeLog(),
              (Lines{"[filter setValue:forKey:nil, inputColorSpace]", "[filter setValue:forKey:nil, inputColorSpace]",
                     "[filter setValue:forKey:value, inputColorSpace]"}));
}

TEST_F(ObjectsTest, ColorSpaceOfAnObjectWithoutFilterReadsAsNullAndIgnoresWrites) {
    object = MakeFilterObject(nil);
    EXPECT_EQ(Read(kColorSpace), nullptr);
    Write(kColorSpace, nullptr);
    EXPECT_EQ(host.TakeLog(), Lines{});
}

}  // namespace
