// class_registry_test.cpp - which records become classes, and which of their entries become members.

#include "tests/host/host_test.h"

namespace {

double Seven(ZEVAobjectStruct*) { return 7; }
double Eight(ZEVAobjectStruct*) { return 8; }
void Ignore(ZEVAobjectStruct*, double) {}

class ClassRegistryTest : public HostTest {};

TEST_F(ClassRegistryTest, ReadsEveryRecordVersion) {
    ZEVAmethod current[] = {Entry("A as double", Seven), Entry("B as double", Eight)};
    ZEVAmethodDownLevel downLevel[] = {current[0].entry, current[1].entry};
    const char* names[] = {"Nine", "Ten", "Eleven", "Twelve"};
    for (ZEVAword version = kOldestRecordVersion; version <= kNewestRecordVersion; ++version) {
        ZEVAclassDefinitionDownLevel record = {.version = version, .className = names[version - kOldestRecordVersion]};
        record.methods = version == kDownLevelRecordVersion ? reinterpret_cast<ZEVAmethod*>(downLevel) : current;
        record.methodCount = 2;
        host.Classes().Register(&record);
        const auto object = host.NewInstance(record.className);
        EXPECT_EQ(std::get<double>(host.Get(object.Get(), "A")), 7) << version;
        EXPECT_EQ(std::get<double>(host.Get(object.Get(), "B")), 8) << version;
    }
    EXPECT_EQ(TakeMessages(), Messages());
}

TEST_F(ClassRegistryTest, RefusesOtherRecordVersions) {
    for (ZEVAword version : {8, 13}) {
        ZEVAclassDefinitionDownLevel record = {.version = version, .className = "Kettle"};
        host.Classes().Register(&record);
    }
    EXPECT_EQ(TakeMessages(), (Messages{"Kettle: record version 8 is outside 9...12; the class is refused",
                                        "Kettle: record version 13 is outside 9...12; the class is refused"}));
    EXPECT_EQ(host.Classes().Find("Kettle"), nullptr);
}

TEST_F(ClassRegistryTest, RefusesRecordsWithoutName) {
    Register(nullptr);
    Register("");
    host.Classes().Register(nullptr);
    EXPECT_EQ(TakeMessages(), (Messages{"class record: it has no class name; no class is registered",
                                        "class record: it has no class name; no class is registered",
                                        "class record: it is null; no class is registered"}));
}

TEST_F(ClassRegistryTest, RefusesASecondClassOfTheSameNameAndKeepsTheFirst) {
    Register("Kettle", nullptr, {Entry("A as double", Seven)});
    Register("Kettle", nullptr, {Entry("A as double", Eight)});
    EXPECT_EQ(TakeMessages(), Messages{"Kettle: a class with this name is already registered; the class is refused"});
    EXPECT_EQ(std::get<double>(host.Get(host.NewInstance("Kettle").Get(), "A")), 7);
}

TEST_F(ClassRegistryTest, RefusesABadEntryByItsIndexAndKeepsTheOthers) {
    Register("Kettle", nullptr,
             {Entry("A is double", Seven), Entry(nullptr, Seven), Entry<double()>("C as double", nullptr),
              Entry("D(x as double)", Seven, Ignore), Entry("E as double", Eight), Entry("E as integer", Seven)});
    EXPECT_EQ(
        TakeMessages(),
        (Messages{
            "Kettle: method table entry 0 \"A is double\": expected 'as', found 'is double'; the entry is refused",
            "Kettle: method table entry 1: the declaration is null; the entry is refused",
            "Kettle: method table entry 2 \"C as double\": the function is null; the entry is refused",
            "Kettle: method table entry 3 \"D(x as double)\": it has a setter but does not declare a property; the "
            "entry is refused",
            "Kettle: method table entry 5 \"E as integer\": declared twice; the entry is refused"}));
    EXPECT_EQ(host.Classes().Find("Kettle")->Members().size(), 1u);
    EXPECT_EQ(std::get<double>(host.Get(host.NewInstance("Kettle").Get(), "E")), 8);
}

TEST_F(ClassRegistryTest, RefusesASecondMethodOfANameWhateverItsParameters) {
    Register("Kettle", nullptr, {Entry("E() as double", Seven), Entry("E(x as double) as double", Eight)});
    EXPECT_EQ(
        TakeMessages(),
        Messages{"Kettle: method table entry 1 \"E(x as double) as double\": declared twice; the entry is refused"});
}

TEST_F(ClassRegistryTest, RefusesASharedConstructor) {
    ZEVAmethod sharedMethods[] = {Entry("Constructor", Seven)};
    ZEVAclassDefinitionDownLevel record = {.version = kRecordVersion, .className = "Kettle"};
    record.sharedMethods = sharedMethods;
    record.sharedMethodCount = 1;
    host.Classes().Register(&record);
    EXPECT_EQ(TakeMessages(), Messages{"Kettle: shared method table entry 0 \"Constructor\": a constructor needs an "
                                       "object; the entry is refused"});
}

TEST_F(ClassRegistryTest, ReportsANullTableWithACount) {
    ZEVAclassDefinitionDownLevel record = {.version = kRecordVersion, .className = "Kettle"};
    record.methodCount = 7;
    record.sharedMethodCount = -1;
    host.Classes().Register(&record);
    EXPECT_EQ(TakeMessages(),
              (Messages{"Kettle: method table with count 7 is null; none of its entries is registered",
                        "Kettle: shared method table with count -1 is null; none of its entries is registered"}));
    EXPECT_NE(host.Classes().Find("Kettle"), nullptr);
}

TEST_F(ClassRegistryTest, ReportsThatItIgnoresPropertyTables) {
    ZEVAclassDefinitionDownLevel record = {.version = kRecordVersion, .className = "Kettle"};
    record.propertyCount = 2;
    record.sharedPropertyCount = 1;
    host.Classes().Register(&record);
    EXPECT_EQ(TakeMessages(), Messages{"Kettle: its property tables (2 and 1 entries) are ignored; this host reads "
                                       "properties from method entries only"});
}

TEST_F(ClassRegistryTest, RefusesANegativeDataSize) {
    Register("Kettle", nullptr, {}, -16);
    EXPECT_EQ(TakeMessages(), Messages{"Kettle: instance data size -16 is negative; the class is refused"});
}

TEST_F(ClassRegistryTest, ASuperclassCanBeRegisteredLater) {
    Register("Kettle", "Vessel");
    EXPECT_EQ(TextOfError([&] { host.NewInstance("Kettle"); }),
              "Kettle: its superclass Vessel is not registered; it cannot have objects");
    Register("Vessel", nullptr, {Entry("A as double", Seven)});
    EXPECT_EQ(std::get<double>(host.Get(host.NewInstance("Kettle").Get(), "A")), 7);
}

TEST_F(ClassRegistryTest, ReportsCircularSuperclasses) {
    Register("Hen", "Egg");
    Register("Egg", "Hen");
    EXPECT_EQ(TextOfError([&] { host.NewInstance("Hen"); }),
              "Hen: its superclasses lead back to Hen; it cannot have objects");
}

TEST_F(ClassRegistryTest, AnUnknownClassNameGetsASuggestion) {
    EXPECT_EQ(TextOfError([&] { host.NewInstance("RuntimeExeption"); }),
              "class RuntimeExeption: it is not registered, did you mean RuntimeException");
    EXPECT_EQ(TextOfError([&] { host.NewInstance("Kettle"); }), "class Kettle: it is not registered");
}

}  // namespace
