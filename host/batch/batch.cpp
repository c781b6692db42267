// batch.cpp - workers take job numbers from a shared counter and report through one pipe.

#include "host/batch/batch.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>
#include <system_error>
#include <thread>

#include "host/batch/error_text.h"

namespace {

// A report of a worker. The size is fixed and at most PIPE_BUF: the system writes such a message in one piece, so
// those of several workers never mix.
struct Message {
    pid_t worker;
    std::uint32_t number;
    enum Kind : std::uint32_t { kBegins, kDone, kFailed } kind;
    std::int32_t errorNumber;
    char failure[1000];
};
static_assert(sizeof(Message) <= PIPE_BUF);

// The number of the next job, in memory shared by all workers.
class SharedCounter {
  public:
    SharedCounter() {
        void* memory = mmap(nullptr, sizeof(std::atomic<std::uint32_t>), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::system_error(errno, std::generic_category(), "cannot allocate shared memory");
        next_ = new (memory) std::atomic<std::uint32_t>(0);
    }
    ~SharedCounter() { munmap(next_, sizeof *next_); }
    SharedCounter(const SharedCounter&) = delete;
    SharedCounter& operator=(const SharedCounter&) = delete;

    std::uint32_t Take() { return next_->fetch_add(1); }
    std::uint32_t Next() const { return next_->load(); }

  private:
    std::atomic<std::uint32_t>* next_;
};

// The main loop of a worker: runs jobs until none is left.
void Work(int pipe, SharedCounter& counter, std::size_t count, const std::function<BatchJob()>& prepare) {
    BatchJob job;
    for (std::uint32_t number = counter.Take(); number < count; number = counter.Take()) {
        Message message = {getpid(), number, Message::kBegins, 0, {}};
        const auto send = [&] { return write(pipe, &message, sizeof message) == sizeof message; };
        if (!send()) return;
        message.kind = Message::kDone;
        try {
            if (!job) job = prepare();
            job(number);
        } catch (...) {
            message.kind = Message::kFailed;
            message.errorNumber = ErrorNumber();
            std::snprintf(message.failure, sizeof message.failure, "%s", ErrorText().c_str());
        }
        if (!send()) return;
    }
}

// Forks the workers, which write to the pipe. Fewer are started when the system refuses more.
std::vector<pid_t> StartWorkers(std::size_t workers, const int (&ends)[2], SharedCounter& counter, std::size_t count,
                                const std::function<BatchJob()>& prepare) {
    std::fflush(nullptr);
    std::vector<pid_t> started;
    for (std::size_t i = 0; i < workers; ++i) {
        const pid_t worker = fork();
        if (worker < 0 && started.empty())
            throw std::system_error(errno, std::generic_category(), "cannot start a worker process");
        if (worker < 0) break;
        if (worker == 0) {
            close(ends[0]);
            Work(ends[1], counter, count, prepare);
            std::fflush(nullptr);
            _exit(0);
        }
        started.push_back(worker);
    }
    return started;
}

// Reads the reports until all workers have ended. Returns the unfinished job of each worker that crashed.
std::map<pid_t, std::size_t> Listen(int pipe, const BatchReport& report) {
    std::map<pid_t, std::size_t> unfinished;
    Message message;
    for (;;) {
        const ssize_t got = read(pipe, &message, sizeof message);
        if (got < 0 && errno == EINTR) continue;
        if (got != sizeof message) return unfinished;
        if (message.kind == Message::kBegins) {
            unfinished[message.worker] = message.number;
        } else {
            unfinished.erase(message.worker);
            report(message.number, message.kind == Message::kFailed ? message.failure : "", message.errorNumber);
        }
    }
}

// Waits for a process and says how it ended.
std::string EndOf(pid_t worker) {
    int status = 0;
    while (waitpid(worker, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) return std::string("its process was terminated: ") + strsignal(WTERMSIG(status));
    return "its process ended with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

std::size_t WorkersOfBatch(std::size_t count) {
    return std::min<std::size_t>(std::max(1u, std::thread::hardware_concurrency()), count);
}

void RunBatch(std::size_t count, const std::function<BatchJob()>& prepare, const BatchReport& report) {
    SharedCounter counter;
    // There is a second round only when every worker of the first one crashed.
    while (counter.Next() < count) {
        int ends[2];
        if (pipe(ends) != 0) throw std::system_error(errno, std::generic_category(), "cannot create a pipe");
        const auto workers = StartWorkers(WorkersOfBatch(count - counter.Next()), ends, counter, count, prepare);
        close(ends[1]);
        const auto unfinished = Listen(ends[0], report);
        close(ends[0]);
        for (pid_t worker : workers) {
            const std::string end = EndOf(worker);
            if (const auto job = unfinished.find(worker); job != unfinished.end()) report(job->second, end, 0);
        }
    }
}
