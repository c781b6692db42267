// apply_worker.h - work that "zeva apply" does in a process of its own before the pictures: the program's process keeps
// no host, so that workers start from a small one.

#pragma once

#include <functional>

// Runs one job in a process of its own. Throws a Failure with what is wrong.
void RunInWorker(const std::function<void()>& job);
