// batch.h - runs many jobs in parallel, isolated from each other.
//
// Jobs run in worker processes, one per processor. Why processes: a process has one host, on one thread; and a job
// that crashes ends only its own worker.
//
// Lifetime: workers start and end within RunBatch. They are forked and inherit the memory of the program.
// Threads:  the process must have one thread when RunBatch is called.

#pragma once

#include <cstddef>
#include <functional>
#include <string>

// Runs the job of a number. Throws when the job fails.
using BatchJob = std::function<void(std::size_t number)>;

// Called for each job that ended. `failure` is the reason, or empty when the job succeeded. The error number is that of
// ErrorNumber (error_text.h).
using BatchReport = std::function<void(std::size_t number, const std::string& failure, int errorNumber)>;

// Returns the number of workers that a number of jobs is divided among.
[[nodiscard]] std::size_t WorkersOfBatch(std::size_t count);

// Runs the jobs 0...count-1 and reports the end of each in the calling process.
//
// Each worker calls `prepare` once, and then the returned job for one number after another. When `prepare` throws,
// the job whose turn it is fails with that error.
//
// Fails: std::system_error when the system cannot start a worker.
void RunBatch(std::size_t count, const std::function<BatchJob()>& prepare, const BatchReport& report);
