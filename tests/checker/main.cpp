// main.cpp - runs the tests; or, as a worker of a test, one check or one work.

#include <gtest/gtest.h>

#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "host/checker/check_process.h"
#include "tests/checker/child_works.h"

int main(int count, char** arguments) {
    if (count == 3 && std::string_view(arguments[1]) == worker::kCommand) {
        std::vector<checker::ChildWork> works = checker::CheckWorks({});
        std::vector<checker::ChildWork> ofTests = checker::TestWorks();
        works.insert(works.end(), std::move_iterator(ofTests.begin()), std::move_iterator(ofTests.end()));
        return worker::RunRole(arguments[2], {checker::ChildRole(std::move(works))});
    }
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
