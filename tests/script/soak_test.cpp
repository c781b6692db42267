// soak_test.cpp - a script that makes and drops a hundred thousand objects does not leak memory.
//
// The test counts allocated bytes, because the size of the process varies by megabytes with what the allocator keeps in
// reserve.

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <string>

#include "host/script/script.h"
#include "tests/script/module_scripts.h"

namespace {

std::size_t BytesInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void MakeAndDrop(int objects) {
    host::script::Script script(HostWithModules());
    const std::string arguments[] = {std::to_string(objects)};
    script.RunFile(ZEVA_SOAK_SCRIPT, arguments);
}

TEST(SoakTest, AHundredThousandObjectsDoNotLeak) {
    MakeAndDrop(10000);
    const std::size_t before = BytesInUse();
    MakeAndDrop(100000);
    const auto growth = static_cast<std::ptrdiff_t>(BytesInUse() - before);
    // Less than one byte for each object.
    EXPECT_LT(growth, 100000) << before << " bytes were in use before";
    EXPECT_EQ(HostWithModules().LiveObjects(), 0);
    EXPECT_EQ(HostWithModules().LiveStrings(), 0);
}

}  // namespace
