// batch.h - runs many jobs in parallel, isolated from each other.
//
// Jobs run in worker processes (host/worker/process.h). Why processes: a process has one host, on one thread; and a job
// that crashes ends only its own worker. A job is a text that the worker understands, and so is its result.
//
// A worker has one job at a time, so that at most one is lost when it dies. Another worker takes its place.
//
// Lifetime: workers start and end within RunBatch.
// Threads:  RunBatch waits on the thread that calls it.

#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "host/worker/role.h"

// What became of a job.
struct BatchResult {
    std::size_t number = 0;
    std::string text;     // of a job that succeeded
    std::string failure;  // the reason; empty when the job succeeded
    int errorNumber = 0;  // of a failure, as of ErrorNumber (error_text.h)
    int signal = 0;       // that ended the worker; 0 for a worker that still runs or that exited
    double seconds = 0;
};

// What happens after a job.
enum class AfterJob {
    kGoOn,
    kTryAgain,  // the same job is run once more, after the others
    kStop,      // no further job begins
};

struct BatchOptions {
    std::string role;         // of the workers; it was made by BatchRole
    std::string setup;        // passed to each worker
    std::size_t workers = 0;  // at most; 0 for one per processor

    // Whether SIGINT and SIGTERM let the jobs in work finish instead of ending the program. See RunBatch.
    bool handlesStops = false;

    // Called about once a second while jobs run.
    std::function<void()> onTick = {};

    // Called for a job whose worker was killed because the batch could not wait for it.
    std::function<void(std::size_t number)> onDropped = {};
};

// Returns the number of workers that a number of jobs is divided among: as many as wanted, or one per processor for 0.
[[nodiscard]] std::size_t WorkersOfBatch(std::size_t count, std::size_t wanted = 0);

// Runs the jobs 0...count-1 and reports the end of each in the calling process. `request` returns the text of a job.
//
// Returns 0; or the signal that stopped the batch, if it handles stops. No job begins after the first SIGINT or
// SIGTERM. The jobs in work have a few seconds to finish, and are dropped then. A second signal drops them at once.
//
// Fails: std::system_error when the system cannot start a worker and none is left.
[[nodiscard]] int RunBatch(const BatchOptions& options, std::size_t count,
                           const std::function<std::string(std::size_t number)>& request,
                           const std::function<AfterJob(const BatchResult& result)>& report);

// The side of the worker. `prepare` takes the setup and is called before the first job. The function that it returns
// takes the text of a job and returns its result. When either throws, the job fails with that error; `prepare` is
// called again for the next one.
using BatchJob = std::function<std::string(const std::string& request)>;
[[nodiscard]] worker::Role BatchRole(std::string name, std::function<BatchJob(const std::string& setup)> prepare);
