// apply_worker.cpp - a batch of one job.

#include "host/program/apply_worker.h"

#include <cstddef>
#include <string>

#include "host/batch/batch.h"
#include "host/program/exit_status.h"

void RunInWorker(const std::function<void()>& job) {
    std::string problem;
    int status = kDone;
    RunBatch(
        1, [&]() -> BatchJob { return [&](std::size_t) { job(); }; },
        [&](std::size_t, const std::string& failure, int errorNumber) {
            problem = failure;
            status = StatusOfNumber(errorNumber, kWrongUsage);
        });
    if (!problem.empty()) throw Failure(status, problem);
}
