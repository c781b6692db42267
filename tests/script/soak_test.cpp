// soak_test.cpp - a hundred thousand objects made and dropped by a script leave the memory in use as it was.
//
// Why bytes in use and no size of the process: what the allocator keeps for later goes up and down by megabytes.

#include <gtest/gtest.h>
#include <malloc.h>

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

TEST(SoakTest, AHundredThousandObjectsLeaveNothing) {
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
