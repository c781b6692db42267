// child_works.h - what the children of the tests can do (child_test.cpp).

#pragma once

#include <vector>

#include "host/checker/child.h"

namespace checker {

[[nodiscard]] std::vector<ChildWork> TestWorks();

}  // namespace checker
