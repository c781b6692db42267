// batch.h - many jobs in parallel, each out of reach of the others.
//
// Jobs run in worker processes, one per processor. Why processes: one process has one host, on one thread; and a job that
// crashes takes only its worker with it.
//
// Lifetime: workers begin and end within RunBatch, and inherit what the program had at its call.
// Threads:  call it while the program has one thread.

#pragma once

#include <cstddef>
#include <functional>
#include <string>

// Does the job of a number; throws when it fails.
using BatchJob = std::function<void(std::size_t number)>;

// How a job ended: why it failed, empty when it did not.
using BatchReport = std::function<void(std::size_t number, const std::string& failure)>;

// Runs the jobs 0...count-1 and reports each one's end, in the caller's process. A worker calls prepare once for the job
// that it then does for one number after another; when that throws, the worker's first job fails with it.
void RunBatch(std::size_t count, const std::function<BatchJob()>& prepare, const BatchReport& report);
