// filter_table_test.cpp - the joined table, and the keys that its functions read.

#include "engine/filter_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "support/declared_keys.h"
#include "support/engine_images.h"

namespace {

using namespace core_image;

TEST(FilterTableTest, FindsEveryFilterByItsNameAndNoOther) {
    for (const FilterRow& row : FilterRows()) {
        EXPECT_EQ(FindFilter(row.name), row.function) << row.name;
        EXPECT_EQ(NameOfFilter(row.function), row.name);
    }
    EXPECT_EQ(FindFilter("CINoSuchFilter"), nullptr);
    EXPECT_EQ(FindFilter(""), nullptr);
}

class FilterKeysTest : public testing::TestWithParam<FilterRow> {};

// Values of many sizes, so that no reading is skipped because of an early return.
TEST_P(FilterKeysTest, ReadsOnlyDeclaredKeys) {
    const std::string filter(GetParam().name);
    const ImageRef image = RandomImage(9, 7);
    const std::vector<float> bytes(4 * 2 * 2 * 2, 0.5f);
    for (const double number : {0.0, 0.5, 1.0, 2.0, 30.0}) {
        const std::vector<double> elements(10, number);
        std::vector<InputValue> values;
        for (const DeclaredKey& key : DeclaredKeysOf(filter)) {
            InputValue& value = values.emplace_back();
            value.key = key.name.c_str();
            if (key.className == "CIImage") {
                value.image = &image;
            } else if (key.className == "NSNumber") {
                value.number = number;
            } else if (key.className == "NSData") {
                value.bytes = bytes.data();
                value.count = bytes.size() * sizeof(float);
            } else {
                value.elements = elements.data();
                value.count = elements.size();
                value.space = ColorSpace::kSRGB;
            }
        }
        EXPECT_NO_THROW(CallFilter(filter, values)) << number;
    }
    EXPECT_NO_THROW(CallFilter(filter, {}));
}

INSTANTIATE_TEST_SUITE_P(Filters, FilterKeysTest, testing::ValuesIn(FilterRows().begin(), FilterRows().end()),
                         [](const auto& test) { return std::string(test.param.name); });

ImageRef ReadsMisspelledKey(const Inputs& inputs) {
    inputs.GetNumber("inputRadios");
    return inputs.GetImage("inputImage");
}

TEST(MakeOutputTest, MisspelledKeyIsAFaultThatNamesTheKey) {
    const ImageRef image = RandomImage(2, 2);
    InputValue values[2];
    values[0].key = "inputImage";
    values[0].image = &image;
    values[1].key = "inputRadius";
    Fault fault;
    EXPECT_EQ(MakeOutput(ReadsMisspelledKey, values, 2, &fault), nullptr);
    EXPECT_STREQ(fault.text, "unnamed filter: reads 'inputRadios', which is not one of its keys; no image was made");
}

TEST(MakeOutputTest, MissingKeyOfAFilterIsAFaultThatNamesTheFilter) {
    const ImageRef image = RandomImage(2, 2);
    InputValue value;
    value.key = "inputImage";
    value.image = &image;
    Fault fault;
    EXPECT_EQ(MakeOutput(FindFilter("CIExposureAdjust"), &value, 1, &fault), nullptr);
    EXPECT_STREQ(fault.text, "CIExposureAdjust: reads 'inputEV', which is not one of its keys; no image was made");
}

TEST(MakeOutputTest, KeyWithoutAValueIsNoFault) {
    InputValue values[2];
    values[0].key = "inputImage";
    values[1].key = "inputEV";
    Fault fault;
    EXPECT_EQ(MakeOutput(FindFilter("CIExposureAdjust"), values, 2, &fault), nullptr)
        << "without an image there is none";
    EXPECT_STREQ(fault.text, "");
}

}  // namespace
