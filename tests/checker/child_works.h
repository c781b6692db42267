// child_works.h - what the children of the tests can do (child_test.cpp).

#pragma once

#include <vector>

#include "host/checker/child.h"

namespace checker {

[[nodiscard]] std::vector<ChildWork> TestWorks();

// Tries something in the sandbox (sandbox_test.cpp).
[[nodiscard]] ChildWork SandboxWork();

}  // namespace checker
