// child.cpp - forks, reads what the child sends, and kills a child that exceeds its time limit.

#include "host/checker/child.h"

#include <fcntl.h>
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

// How many bytes of a child's output are kept.
constexpr std::size_t kKeptOutput = 4000;

// How many bytes a child can print; writing more fails. Why a limit: the output is in memory.
constexpr std::size_t kMostOutput = 1 << 20;

// How many bytes a child's result can have. It is far more than a check with many findings needs.
constexpr std::size_t kMostResult = 16 << 20;

// The last step, in memory that a child shares with its parent.
constexpr std::size_t kStepSize = 256;
char* stepNote = nullptr;

// Whether this process is a child. Only the outermost child leads a process group, which is killed with it.
bool isChild = false;

[[noreturn]] void Throw(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

// Owns a file descriptor.
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

// Owns the shared step of one child. It replaces the step of this process until the child has ended.
class SharedNote {
  public:
    SharedNote() : enclosing_(stepNote) {
        void* shared = mmap(nullptr, kStepSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (shared == MAP_FAILED) Throw("checker: cannot share memory with a child");
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

// Runs in the child: works, sends the result and exits. A zero byte marks a complete result.
[[noreturn]] void BeChild(const std::function<std::string()>& work, Descriptor& result, const Descriptor& output,
                          ChildExit childExit) {
    if (!isChild) setpgid(0, 0);
    isChild = true;
    dup2(output.Number(), STDOUT_FILENO);
    dup2(output.Number(), STDERR_FILENO);
    WriteAll(result.Number(), work() + '\0');
    result.Close();
    std::fflush(nullptr);
    if (childExit == ChildExit::kImmediate) _exit(0);
    std::exit(0);
}

// Returns an empty file in memory that cannot grow beyond kMostOutput.
int NewOutputFile() {
    const int file = memfd_create("output", MFD_ALLOW_SEALING);
    if (file < 0 || ftruncate(file, kMostOutput) != 0 || fcntl(file, F_ADD_SEALS, F_SEAL_GROW) != 0) {
        Throw("checker: cannot create a file for the output of a child");
    }
    return file;
}

// Reads the result until the pipe is closed. Returns false at the deadline. Keeps the beginning of a result
// that is too long.
bool ReadResult(int descriptor, Clock::time_point deadline, std::string& text) {
    std::array<char, 4096> buffer;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
        const int ready = poll(&waiting, 1, static_cast<int>(std::max<long long>(left, 0)));
        if (ready < 0 && errno == EINTR) continue;
        if (ready == 0) return false;
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count <= 0) return true;
        if (text.size() < kMostResult) text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

// Waits until the child has ended. Returns false at the deadline.
bool WaitFor(pid_t child, Clock::time_point deadline, int& status) {
    for (useconds_t pause = 50; waitpid(child, &status, WNOHANG) == 0;
         pause = std::min<useconds_t>(2 * pause, 10'000)) {
        if (Clock::now() >= deadline) return false;
        usleep(pause);
    }
    return true;
}

// Returns the last part of what the child printed.
std::string KeptOutput(const Descriptor& file) {
    const off_t size = lseek(file.Number(), 0, SEEK_CUR);  // the child has the same position
    const off_t start = std::max<off_t>(0, size - static_cast<off_t>(kKeptOutput));
    std::string text(static_cast<std::size_t>(size - start), '\0');
    const ssize_t count = pread(file.Number(), text.data(), text.size(), start);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return text;
}

}  // namespace

ChildResult RunInChild(const std::function<std::string()>& work, std::chrono::duration<double> limit,
                       ChildExit childExit) {
    int ends[2];
    if (pipe(ends) != 0) Throw("checker: cannot create a pipe for a child");
    Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const Descriptor output(NewOutputFile());
    const SharedNote note;
    std::fflush(nullptr);
    const auto start = Clock::now();
    const auto deadline = start + std::chrono::duration_cast<Clock::duration>(limit);
    const pid_t child = fork();
    if (child < 0) Throw("checker: cannot create a child process");
    if (child == 0) BeChild(work, writing, output, childExit);
    if (!isChild) setpgid(child, child);
    writing.Close();

    ChildResult result;
    int status = 0;
    const bool inTime = ReadResult(reading.Number(), deadline, result.text) && WaitFor(child, deadline, status);
    if (!isChild) kill(-child, SIGKILL);  // and every process that it started
    if (!inTime) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    result.seconds = Clock::now() - start;
    result.timedOut = !inTime;
    result.hasReturned = !result.text.empty() && result.text.size() < kMostResult && result.text.back() == '\0';
    if (result.hasReturned) result.text.pop_back();
    result.signal = inTime && WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    result.step = stepNote;
    result.output = KeptOutput(output);
    return result;
}

std::string FailureText(const ChildResult& child) {
    std::string text;
    if (child.timedOut) {
        text = "still running after " + host::NumberText(std::round(child.seconds.count() * 10) / 10) + " s";
    } else if (child.text.size() >= kMostResult) {
        text = "the findings have more than " + std::to_string(kMostResult) + " bytes";
    } else if (child.signal != 0) {
        const char* name = sigabbrev_np(child.signal);
        text = name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(child.signal);
    } else {
        text = "the process exited with status " + std::to_string(child.exitStatus);
    }
    return child.step.empty() ? text : text + " while " + child.step;
}

void NoteStep(const std::string& step) {
    if (stepNote == nullptr) return;
    const std::size_t length = std::min(step.size(), kStepSize - 1);
    std::memcpy(stepNote, step.data(), length);
    stepNote[length] = '\0';
}

}  // namespace checker
