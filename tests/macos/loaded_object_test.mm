// loaded_object_test.mm - runs code for macOS in this process and tests through its functions what the loader did.
//
// The same tests run on an object and, with ZEVA_TINY_MODULE, on a bundle.

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/macho/load_object.h"
#include "tests/boundary/foreign_exception.h"
#include "tests/support/path_from_environment.h"

namespace {

using host::macho::LoadedObject;

class LoadedObjectTest : public testing::Test {
  protected:
    template <typename Function>
    Function* Find(const char* name) {
        return reinterpret_cast<Function*>(object.exports.at(name));
    }

    // The access rights of this process to the memory at an address, in the form "r-xp".
    static std::string AccessAt(const void* memory) {
        std::ifstream maps("/proc/self/maps");
        const auto address = reinterpret_cast<std::uintptr_t>(memory);
        for (std::string line; std::getline(maps, line);) {
            std::uintptr_t begin = 0, end = 0;
            char dash = 0;
            std::string access;
            std::istringstream(line) >> std::hex >> begin >> dash >> end >> access;
            if (begin <= address && address < end) return access;
        }
        return "none";
    }

    static LoadedObject Load() {
        return host::macho::LoadObject(
            host::macho::CodeFile(PathFromEnvironment("ZEVA_TINY_MODULE", ZEVA_TINY_OBJECT)));
    }

    const LoadedObject object = Load();
};

TEST_F(LoadedObjectTest, ExportsExactlyTheVisibleFunctions) {
    std::vector<std::string> names;
    for (const auto& [name, address] : object.exports) names.push_back(name);
    EXPECT_EQ(names,
              (std::vector<std::string>{"TinyClass", "TinyCount", "TinyCountThroughPointer", "TinyDouble", "TinyLength",
                                        "TinyPass", "TinyRetained", "TinyString", "TinyWord", "TinyZeros"}));
}

TEST_F(LoadedObjectTest, CodeIsExecutableAndDataIsWritable) {
    EXPECT_EQ(AccessAt(object.exports.at("TinyCount")), "r-xp");
    EXPECT_EQ(AccessAt(object.data.data()), "rw-p");
    EXPECT_EQ(AccessAt(&object.data.back()), "rw-p");
    EXPECT_EQ(AccessAt(object.data.data() - 1), "r-xp");
}

TEST_F(LoadedObjectTest, EachLoadHasItsOwnDataInTheReportedRange) {
    const LoadedObject other = Load();
    EXPECT_EQ(Find<int()>("TinyCount")(), 42);
    EXPECT_EQ(Find<int()>("TinyCountThroughPointer")(), 43);
    EXPECT_EQ(reinterpret_cast<int (*)()>(other.exports.at("TinyCount"))(), 42);
    const std::vector<unsigned char> before(other.data.begin(), other.data.end());
    reinterpret_cast<int (*)()>(other.exports.at("TinyCount"))();
    std::copy(before.begin(), before.end(), other.data.begin());
    EXPECT_EQ(reinterpret_cast<int (*)()>(other.exports.at("TinyCount"))(), 43);
}

TEST_F(LoadedObjectTest, AddressesInDataAndOfFunctionsAreRelocated) {
    EXPECT_STREQ(Find<const char*(int)>("TinyWord")(0), "kettle");
    EXPECT_STREQ(Find<const char*(int)>("TinyWord")(1), "vessel");
    EXPECT_EQ(Find<unsigned long(const char*)>("TinyLength")("four"), 4u);
}

TEST_F(LoadedObjectTest, UninitializedVariablesAreZero) {
    const int* zeros = Find<int*()>("TinyZeros")();
    EXPECT_EQ(std::count(zeros, zeros + 1000, 0), 1000);
}

TEST_F(LoadedObjectTest, MessagesReachClassesAndObjectsOfThisProcess) {
    EXPECT_EQ(Find<Class()>("TinyClass")(), [NSNumber class]);
    EXPECT_EQ(Find<double(id)>("TinyDouble")([NSNumber numberWithDouble:2.5]), 2.5);
    NSObject* kept = [[NSObject alloc] init];
    EXPECT_EQ(Find<id(id)>("TinyRetained")(kept), kept);
    EXPECT_EQ([kept retainCount], 2u);
    [kept release];
    [kept release];
}

TEST_F(LoadedObjectTest, MessagesToNilReturnNilOrZeroAndKeepTheFloatingPointStack) {
    EXPECT_EQ(Find<id(id)>("TinyRetained")(nil), nil);
    // The x87 stack has eight registers, so pushing one too many or too few at each call gives a wrong result.
    double sum = 0;
    for (int i = 0; i < 20; ++i) sum += Find<double(id)>("TinyDouble")(nil) + i;
    volatile long double exact = sum;
    EXPECT_EQ(static_cast<double>(exact * 2), 380.0);
}

TEST_F(LoadedObjectTest, ConstantStringsBehaveLikeOtherStrings) {
    NSString* text = Find<NSString*()>("TinyString")();
    EXPECT_TRUE([text isKindOfClass:[NSString class]]);
    EXPECT_EQ([text length], 6u);
    EXPECT_TRUE([text isEqualToString:@"a text"]);
    EXPECT_TRUE([@"a text" isEqual:text]);
    EXPECT_STREQ([text UTF8String], "a text");
    NSDictionary* dictionary = [NSDictionary dictionaryWithObject:@"found" forKey:@"a text"];
    EXPECT_TRUE([[dictionary objectForKey:text] isEqual:@"found"]);
    EXPECT_TRUE([[[NSDictionary dictionaryWithObject:@"found" forKey:text] objectForKey:@"a text"] isEqual:@"found"]);
}

TEST_F(LoadedObjectTest, ConstantStringsAreNeverFreedAndCopyToThemselves) {
    NSString* text = Find<NSString*()>("TinyString")();
    for (int i = 0; i < 3; ++i) [text release];
    EXPECT_EQ([text copy], text);
    EXPECT_EQ([text retain], text);
    EXPECT_EQ([text autorelease], text);
    EXPECT_EQ([text length], 6u);
}

TEST_F(LoadedObjectTest, ForeignExceptionsPassAndCleanupsRunOnce) {
    int runs = 0;
    EXPECT_TRUE(ThrowsForeign([&] { Find<void(void (*)(), int*)>("TinyPass")(ThrowForeign, &runs); }));
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(ThrowsForeign([&] { Find<void(void (*)(), int*)>("TinyPass")([] {}, &runs); }));
    EXPECT_EQ(runs, 2);
}

}  // namespace
