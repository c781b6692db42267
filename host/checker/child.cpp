// child.cpp - forking, listening, and ending what takes too long.

#include "host/checker/child.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <utility>

#include "host/runtime/value.h"

namespace checker {

namespace {

using Clock = std::chrono::steady_clock;

// How much of what a child prints is kept.
constexpr std::size_t kKeptOutput = 4000;

// Where steps are noted: seen by a child and by whoever started it.
constexpr std::size_t kStepSize = 256;
char* stepNote = nullptr;

// Whether this process is a child itself. Only the outermost child leads a group of processes, which end with it.
bool isChild = false;

[[noreturn]] void Throw(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

// A file descriptor that is closed in the end.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    int Number() const { return number_; }
    void Close() {
        if (number_ >= 0) close(std::exchange(number_, -1));
    }

  private:
    int number_;
};

// The step note of one child, which stands in for the one of this process while the child is made.
class SharedNote {
  public:
    SharedNote() : enclosing_(stepNote) {
        void* shared = mmap(nullptr, kStepSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (shared == MAP_FAILED) Throw("checker: no memory to share with a child");
        stepNote = static_cast<char*>(shared);
    }
    ~SharedNote() {
        munmap(stepNote, kStepSize);
        stepNote = enclosing_;
    }
    SharedNote(const SharedNote&) = delete;

  private:
    char* enclosing_;
};

void WriteAll(int descriptor, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count <= 0) return;
        done += static_cast<std::size_t>(count);
    }
}

// What the child does; never returns.
[[noreturn]] void BeChild(const std::function<std::string()>& work, Descriptor& answer, const Descriptor& output,
                          Ending ending) {
    if (!isChild) setpgid(0, 0);
    isChild = true;
    dup2(output.Number(), STDOUT_FILENO);
    dup2(output.Number(), STDERR_FILENO);
    WriteAll(answer.Number(), work() + '\0');
    answer.Close();
    std::fflush(nullptr);
    if (ending == Ending::kAtOnce) _exit(0);
    std::exit(0);
}

// Reads the answer until the pipe closes; false when that takes longer than until the deadline.
bool ReadAnswer(int descriptor, Clock::time_point deadline, std::string& answer) {
    std::array<char, 4096> buffer;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
        const int ready = poll(&waiting, 1, static_cast<int>(std::max<long long>(left, 0)));
        if (ready < 0 && errno == EINTR) continue;
        if (ready == 0) return false;
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count <= 0) return true;
        answer.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

// Waits until the child has ended; false when that takes longer than until the deadline.
bool WaitFor(pid_t child, Clock::time_point deadline, int& status) {
    for (useconds_t pause = 50; waitpid(child, &status, WNOHANG) == 0;
         pause = std::min<useconds_t>(2 * pause, 10'000)) {
        if (Clock::now() >= deadline) return false;
        usleep(pause);
    }
    return true;
}

// The last part of what the child printed.
std::string KeptOutput(const Descriptor& file) {
    const off_t size = lseek(file.Number(), 0, SEEK_END);
    const off_t start = std::max<off_t>(0, size - static_cast<off_t>(kKeptOutput));
    std::string text(static_cast<std::size_t>(size - start), '\0');
    const ssize_t count = pread(file.Number(), text.data(), text.size(), start);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return text;
}

}  // namespace

Outcome RunInChild(const std::function<std::string()>& work, std::chrono::duration<double> limit, Ending ending) {
    int ends[2];
    if (pipe(ends) != 0) Throw("checker: no pipe for a child");
    Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const Descriptor output(memfd_create("output", 0));
    const SharedNote note;
    std::fflush(nullptr);
    const auto start = Clock::now();
    const auto deadline = start + std::chrono::duration_cast<Clock::duration>(limit);
    const pid_t child = fork();
    if (child < 0) Throw("checker: no process for a child");
    if (child == 0) BeChild(work, writing, output, ending);
    if (!isChild) setpgid(child, child);
    writing.Close();

    Outcome outcome;
    int status = 0;
    const bool inTime = ReadAnswer(reading.Number(), deadline, outcome.answer) && WaitFor(child, deadline, status);
    if (!isChild) kill(-child, SIGKILL);  // with whatever it has left running
    if (!inTime) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    outcome.seconds = Clock::now() - start;
    outcome.timedOut = !inTime;
    outcome.answered = !outcome.answer.empty() && outcome.answer.back() == '\0';
    if (outcome.answered) outcome.answer.pop_back();
    outcome.signal = inTime && WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    outcome.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    outcome.step = stepNote;
    outcome.output = KeptOutput(output);
    return outcome;
}

std::string EndingText(const Outcome& outcome) {
    std::string text;
    if (outcome.timedOut) {
        text = "no end after " + host::NumberText(std::round(outcome.seconds.count() * 10) / 10) + " s";
    } else if (outcome.signal != 0) {
        const char* name = sigabbrev_np(outcome.signal);
        text = name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(outcome.signal);
    } else {
        text = "the process ended with status " + std::to_string(outcome.exitStatus);
    }
    return outcome.step.empty() ? text : text + " while " + outcome.step;
}

void NoteStep(const std::string& step) {
    if (stepNote == nullptr) return;
    const std::size_t length = std::min(step.size(), kStepSize - 1);
    std::memcpy(stepNote, step.data(), length);
    stepNote[length] = '\0';
}

}  // namespace checker
