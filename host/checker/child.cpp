// child.cpp - starts the child, reads what it sends, and kills a child that exceeds its time limit.

#include "host/checker/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

#include "host/checker/crash.h"
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

// What a child notes, in memory that it shares with its parent. Plain data, all zero at first.
struct Notes {
    static constexpr std::size_t kStepSize = 256, kCalls = 10, kCallSize = 120, kTries = 8, kTrySize = 160;

    char step[kStepSize];
    char calls[kCalls][kCallSize];  // a ring
    std::uint32_t callCount;        // of all calls
    struct {
        char step[kStepSize];
        char what[kTrySize];
    } tries[kTries];
    std::atomic<std::uint32_t> tryCount;  // of all tries that are noted; more than kTries are not kept
    CrashNotes crash;
};

// The notes of this process. Null in a process that is not a child.
Notes* ownNotes = nullptr;

// Whether this process is a child. Only the outermost child leads a process group, which is killed with it.
bool IsChild() { return ownNotes != nullptr; }

// Copies a text, as much of it as fits.
template <std::size_t Size>
void Copy(char (&to)[Size], const char* text) {
    const std::size_t length = strnlen(text, Size - 1);
    std::memcpy(to, text, length);
    to[length] = '\0';
}

// How the message to a child says that it exits with _exit.
constexpr const char* kImmediately = "immediately";

// The file of the shared notes, as the child finds it.
constexpr int kNotesDescriptor = worker::kFirstPassedDescriptor;

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

// The notes of one child in memory.
class SharedNotes {
  public:
    explicit SharedNotes(const Descriptor& file)
        : memory_(mmap(nullptr, sizeof(Notes), PROT_READ | PROT_WRITE, MAP_SHARED, file.Number(), 0)) {
        if (memory_ == MAP_FAILED) Throw("checker: cannot share memory with a child");
    }
    ~SharedNotes() {
        if (memory_ != MAP_FAILED) munmap(memory_, sizeof(Notes));
    }
    SharedNotes(const SharedNotes&) = delete;

    const Notes& Get() const { return *static_cast<const Notes*>(memory_); }

    // Keeps the memory until the process ends.
    Notes* Release() { return static_cast<Notes*>(std::exchange(memory_, MAP_FAILED)); }

  private:
    void* memory_;
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
    ownNotes = SharedNotes(Descriptor(kNotesDescriptor)).Release();
    NoteCrashesIn(ownNotes->crash);
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

// The last calls, the latest one last.
std::vector<std::string> CallsIn(const Notes& child) {
    std::vector<std::string> calls;
    const std::size_t count = std::min<std::size_t>(child.callCount, Notes::kCalls);
    for (std::size_t i = child.callCount - count; i < child.callCount; ++i) {
        calls.emplace_back(child.calls[i % Notes::kCalls]);
    }
    return calls;
}

std::vector<Try> TriesIn(const Notes& child) {
    std::vector<Try> tries;
    for (std::size_t i = 0; i < std::min<std::size_t>(child.tryCount, Notes::kTries); ++i) {
        const Try each = {child.tries[i].step, child.tries[i].what};
        if (std::ranges::find(tries, each) == tries.end()) tries.push_back(each);
    }
    return tries;
}

}  // namespace

worker::Role ChildRole(std::vector<ChildWork> works) {
    return {kChildRole, [works = std::move(works)](worker::Channel& channel) { return BeChild(works, channel); }};
}

ChildResult RunInChild(const std::string& work, const std::string& argument, std::chrono::duration<double> limit,
                       ChildExit childExit) {
    const Descriptor output(NewMemoryFile("output", kMostOutput));
    const Descriptor noteFile(NewMemoryFile("notes", sizeof(Notes)));
    const SharedNotes childNotes(noteFile);
    std::fflush(nullptr);
    const auto start = Clock::now();
    const auto deadline = start + std::chrono::duration_cast<Clock::duration>(limit);
    worker::Process child({.role = kChildRole,
                           .output = output.Number(),
                           .leadsGroup = !IsChild(),
                           .blocksStops = false,
                           .passed = {noteFile.Number()}});
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
    result.step = childNotes.Get().step;
    result.calls = CallsIn(childNotes.Get());
    result.tries = TriesIn(childNotes.Get());
    // The system's way to start a process blocks all signals first, so the handler of the sandbox cannot note the try.
    if (result.signal == SIGSYS) result.tries.push_back({result.step, "starting a process"});
    if (result.signal != 0) result.stack = StackText(childNotes.Get().crash);
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
    if (ownNotes == nullptr) return;
    Copy(ownNotes->step, step.c_str());
    NoteCall(step.c_str());
}

void NoteCall(const char* call) {
    if (ownNotes != nullptr) Copy(ownNotes->calls[ownNotes->callCount++ % Notes::kCalls], call);
}

void NoteTry(const char* words, const char* path) {
    if (ownNotes == nullptr) return;
    const std::uint32_t index = ownNotes->tryCount++;
    if (index >= Notes::kTries) return;
    auto& noted = ownNotes->tries[index];
    Copy(noted.step, ownNotes->step);
    std::snprintf(noted.what, sizeof noted.what, *path == '\0' ? "%s" : "%s \"%s\"", words, path);
}

}  // namespace checker
