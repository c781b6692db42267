// main.cpp - runs the tests; or, as a worker of a test, its role.

#include <gtest/gtest.h>

#include <string_view>

#include "tests/batch/roles.h"

int main(int count, char** arguments) {
    if (count == 3 && std::string_view(arguments[1]) == worker::kCommand) {
        return worker::RunRole(arguments[2], {EchoRole(), JobRole()});
    }
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
