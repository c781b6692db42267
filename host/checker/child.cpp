// child.cpp - starts the child, reads what it sends, and kills a child that exceeds its time limit.

#include "host/checker/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

#include "host/runtime/value.h"
#include "host/worker/process.h"
#include "host/worker/texts.h"

namespace checker {

namespace {

using Clock = std::chrono::steady_clock;

// How many bytes of a child's output are kept.
constexpr std::size_t kKeptOutput = 4000;

// How many bytes a child can print; writing more fails. Why a limit: the output is in memory.
constexpr std::size_t kMostOutput = 1 << 20;

// How many bytes a child's result can have. It is far more than a check with many findings needs.
constexpr std::size_t kMostResult = 16 << 20;

// The last step of this process, in memory that it shares with its parent. Null in a process that is not a child.
constexpr std::size_t kStepSize = 256;
char* stepNote = nullptr;

// Whether this process is a child. Only the outermost child leads a process group, which is killed with it.
bool IsChild() { return stepNote != nullptr; }

// How the message to a child says that it exits with _exit.
constexpr const char* kImmediately = "immediately";

// The file of the shared step, as the child finds it.
constexpr int kStepDescriptor = worker::kFirstPassedDescriptor;

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

// The steps of one child in memory.
class SharedNote {
  public:
    explicit SharedNote(const Descriptor& file)
        : text_(mmap(nullptr, kStepSize, PROT_READ | PROT_WRITE, MAP_SHARED, file.Number(), 0)) {
        if (text_ == MAP_FAILED) Throw("checker: cannot share memory with a child");
    }
    ~SharedNote() {
        if (text_ != MAP_FAILED) munmap(text_, kStepSize);
    }
    SharedNote(const SharedNote&) = delete;

    char* Text() const { return static_cast<char*>(text_); }

    // Keeps the memory until the process ends.
    char* Release() { return static_cast<char*>(std::exchange(text_, MAP_FAILED)); }

  private:
    void* text_;
};

void WriteAll(int descriptor, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count <= 0) return;
        done += static_cast<std::size_t>(count);
    }
}

// Runs in the child: works, sends the result and exits. A zero byte marks a complete result.
int BeChild(const std::vector<ChildWork>& works, worker::Channel& channel) {
    const std::optional<std::string> message = channel.Receive();
    const auto texts = message ? worker::Unpack(*message) : std::nullopt;
    if (!texts || texts->size() != 3) return 1;
    const std::string &name = (*texts)[0], &argument = (*texts)[1], &childExit = (*texts)[2];
    const auto work = std::ranges::find(works, name, &ChildWork::name);
    if (work == works.end()) return 1;
    stepNote = SharedNote(Descriptor(kStepDescriptor)).Release();
    WriteAll(channel.Descriptor(), work->run(argument) + '\0');
    channel.Close();
    std::fflush(nullptr);
    if (childExit == kImmediately) _exit(0);
    std::exit(0);
}

// Returns an empty file in memory that cannot grow beyond a size.
int NewMemoryFile(const char* name, std::size_t size) {
    const int file = memfd_create(name, MFD_ALLOW_SEALING | MFD_CLOEXEC);
    if (file < 0 || ftruncate(file, static_cast<off_t>(size)) != 0 || fcntl(file, F_ADD_SEALS, F_SEAL_GROW) != 0) {
        Throw("checker: cannot create a file in memory for a child");
    }
    return file;
}

// Reads the result until the channel is closed. Returns false at the deadline. Keeps the beginning of a result
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

// Waits until the child has ended. Returns nothing at the deadline.
std::optional<worker::End> WaitFor(worker::Process& child, Clock::time_point deadline) {
    for (useconds_t pause = 50;; pause = std::min<useconds_t>(2 * pause, 10'000)) {
        if (const std::optional<worker::End> end = child.Poll(); end || Clock::now() >= deadline) return end;
        usleep(pause);
    }
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

worker::Role ChildRole(std::vector<ChildWork> works) {
    return {kChildRole, [works = std::move(works)](worker::Channel& channel) { return BeChild(works, channel); }};
}

ChildResult RunInChild(const std::string& work, const std::string& argument, std::chrono::duration<double> limit,
                       ChildExit childExit) {
    const Descriptor output(NewMemoryFile("output", kMostOutput));
    const Descriptor step(NewMemoryFile("step", kStepSize));
    const SharedNote note(step);
    std::fflush(nullptr);
    const auto start = Clock::now();
    const auto deadline = start + std::chrono::duration_cast<Clock::duration>(limit);
    worker::Process child({.role = kChildRole,
                           .output = output.Number(),
                           .leadsGroup = !IsChild(),
                           .blocksStops = false,
                           .passed = {step.Number()}});
    const char* how = childExit == ChildExit::kImmediate ? kImmediately : "";
    static_cast<void>(child.GetChannel().Send(worker::Pack({work, argument, how})));

    ChildResult result;
    std::optional<worker::End> end;
    if (ReadResult(child.GetChannel().Descriptor(), deadline, result.text)) end = WaitFor(child, deadline);
    child.Kill();  // and every process that it started
    child.Wait();
    result.seconds = Clock::now() - start;
    result.timedOut = !end;
    result.hasReturned = !result.text.empty() && result.text.size() < kMostResult && result.text.back() == '\0';
    if (result.hasReturned) result.text.pop_back();
    if (end) {
        result.signal = end->signal;
        result.exitStatus = end->status;
    }
    result.step = note.Text();
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
