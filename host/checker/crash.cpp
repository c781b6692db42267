// crash.cpp - unwinds in the handler of the signal, and asks llvm-symbolizer for names.

#include "host/checker/crash.h"

#include <execinfo.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string_view>

#include "host/macho/load_object.h"

namespace checker {

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP};

#ifdef __x86_64__
constexpr int kProgramCounter = REG_RIP, kStackPointer = REG_RSP;
#else
constexpr int kProgramCounter = REG_EIP, kStackPointer = REG_ESP;
#endif

// The most frames of a report, and those of this program that are shown below code of others: how the module was
// called. What is further out is the same in every report.
constexpr std::size_t kShownFrames = 24, kShownCallers = 2;

constexpr std::chrono::seconds kSymbolizerLimit{20};

// An overflow of the stack needs another one for the handler. Unwinding takes a few kilobytes.
constexpr std::size_t kHandlerStack = 256 << 10;

CrashNotes* crashNotes = nullptr;

// Copies /proc/self/maps. The last line may be incomplete.
void NoteMaps(CrashNotes& notes) {
    const int file = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (file < 0) return;
    for (;;) {
        const ssize_t count = read(file, notes.maps + notes.mapsLength, sizeof notes.maps - notes.mapsLength);
        if (count <= 0) break;
        notes.mapsLength += static_cast<std::uint32_t>(count);
    }
    close(file);
}

// Copies the list of objects for macOS.
void NoteObjects(CrashNotes& notes) {
    for (const host::macho::LoadedRange& range : host::macho::LoadedRanges()) {
        if (notes.objectCount == std::size(notes.objects)) return;
        MappedObject& object = notes.objects[notes.objectCount++];
        std::strncpy(object.path, range.file.c_str(), sizeof object.path - 1);
        object.base = range.base;
        object.size = range.size;
    }
}

void OnCrash(int signal, siginfo_t*, void* context) {
    CrashNotes& notes = *crashNotes;
    NoteMaps(notes);
    NoteObjects(notes);
    const greg_t* registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const auto crashed = static_cast<std::uintptr_t>(registers[kProgramCounter]);
    // Noted first, because the unwinder may crash as well.
    notes.frames[0] = crashed;
    notes.frameCount = 1;
    void* frames[CrashNotes::kFrames + 8];  // those of the handler come first
    const int count = backtrace(frames, static_cast<int>(std::size(frames)));
    const auto first = std::find(frames, frames + count, reinterpret_cast<void*>(crashed));
    if (first != frames + count && first + 1 != frames + count) {
        for (auto frame = first + 1; frame != frames + count && notes.frameCount < std::size(notes.frames); ++frame) {
            notes.frames[notes.frameCount++] = reinterpret_cast<std::uintptr_t>(*frame);
        }
    } else {
        // A call to an address without code: the caller is on the stack.
        notes.frames[notes.frameCount++] = *reinterpret_cast<std::uintptr_t*>(registers[kStackPointer]);
    }
    raise(signal);  // the handler is gone, so this ends the process as if there had been none
}

// A line of maps: the address of the beginning and the file.
struct Mapping {
    std::uintptr_t begin, end;
    std::uintptr_t offset;
    std::string path;
};

std::vector<Mapping> Mappings(const CrashNotes& notes) {
    std::vector<Mapping> mappings;
    std::istringstream lines(std::string(notes.maps, notes.mapsLength));
    for (std::string line; std::getline(lines, line);) {
        unsigned long begin = 0, end = 0, offset = 0;
        int path = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx %*s %lx %*s %*s %n", &begin, &end, &offset, &path) != 3) continue;
        mappings.push_back({begin, end, offset, line.substr(static_cast<std::size_t>(path))});
    }
    return mappings;
}

// A place in a file.
struct Place {
    std::string file;  // empty if the address is in no file
    std::uintptr_t offset = 0;

    [[nodiscard]] std::string Name() const { return file.substr(file.rfind('/') + 1); }
};

Place PlaceOf(std::uintptr_t address, const CrashNotes& notes, const std::vector<Mapping>& mappings) {
    for (std::size_t i = 0; i < notes.objectCount; ++i) {
        const MappedObject& object = notes.objects[i];
        if (address - object.base < object.size) return {object.path, address - object.base};
    }
    const auto found = std::ranges::find_if(
        mappings, [&](const Mapping& each) { return address >= each.begin && address < each.end; });
    if (found == mappings.end() || !found->path.starts_with('/')) return {};
    const auto first = std::ranges::find_if(
        mappings, [&](const Mapping& each) { return each.path == found->path && each.offset == 0; });
    return {found->path, address - (first == mappings.end() ? found->begin : first->begin)};
}

// The environment without the servers that llvm-symbolizer would ask for what a library lacks: a report that waits for
// a network is worth less than one that shows a number.
std::vector<char*> EnvironmentOfSymbolizer() {
    std::vector<char*> variables;
    for (char** each = environ; *each != nullptr; ++each) {
        if (!std::string_view(*each).starts_with("DEBUGINFOD_URLS=")) variables.push_back(*each);
    }
    variables.push_back(nullptr);
    return variables;
}

// Waits for a process, which is killed at the deadline.
void WaitFor(pid_t process) {
    const auto deadline = std::chrono::steady_clock::now() + kSymbolizerLimit;
    int status = 0;
    for (pid_t ended = 0; ended == 0 || (ended < 0 && errno == EINTR); ended = waitpid(process, &status, WNOHANG)) {
        if (std::chrono::steady_clock::now() >= deadline) kill(process, SIGKILL);
        usleep(1000);
    }
}

// Runs llvm-symbolizer on these lines, "FILE ADDRESS", and returns its output, one line for each; none if there is no
// such program.
std::vector<std::string> Symbolized(const std::string& lines) {
    const int input = memfd_create("addresses", MFD_CLOEXEC), output = memfd_create("names", MFD_CLOEXEC);
    std::vector<std::string> names;
    if (input >= 0 && output >= 0 && write(input, lines.data(), lines.size()) == static_cast<ssize_t>(lines.size())) {
        lseek(input, 0, SEEK_SET);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        for (const char* program : {"llvm-symbolizer", "llvm-symbolizer-14"}) {
            const char* arguments[] = {program,        "--output-style=GNU", "--functions", "--demangle",
                                       "--no-inlines", "--pretty-print",     nullptr};
            pid_t process = 0;
            std::vector<char*> environment = EnvironmentOfSymbolizer();
            if (posix_spawnp(&process, program, &actions, nullptr, const_cast<char**>(arguments), environment.data()) ==
                0) {
                WaitFor(process);
                break;
            }
        }
        posix_spawn_file_actions_destroy(&actions);
        std::string text;
        std::array<char, 4096> buffer;
        off_t at = 0;
        for (ssize_t count; (count = pread(output, buffer.data(), buffer.size(), at)) > 0; at += count) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        std::istringstream reader(text);
        for (std::string line; std::getline(reader, line);) {
            if (!line.empty()) names.push_back(line);
        }
    }
    close(input);
    close(output);
    return names;
}

}  // namespace

void NoteCrashesIn(CrashNotes& notes) {
#if __has_feature(address_sanitizer)
    return;  // it reports crashes itself
#endif
    crashNotes = &notes;
    void* frame = nullptr;
    backtrace(&frame, 1);  // loads the unwinder, which a dying process must not do
    void* memory = mmap(nullptr, kHandlerStack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory != MAP_FAILED) {
        const stack_t stack = {.ss_sp = memory, .ss_flags = 0, .ss_size = kHandlerStack};
        sigaltstack(&stack, nullptr);
    }
    struct sigaction action = {};
    action.sa_sigaction = OnCrash;
    action.sa_flags = static_cast<int>(SA_SIGINFO | SA_ONSTACK | SA_RESETHAND);
    for (const int signal : kSignals) sigaction(signal, &action, nullptr);
}

std::vector<std::string> StackText(const CrashNotes& notes) {
    const std::vector<Mapping> mappings = Mappings(notes);
    const std::size_t count = std::min<std::size_t>({notes.frameCount, std::size(notes.frames), kShownFrames});
    std::vector<Place> places;
    std::ostringstream questions;
    // The child is this program, too.
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").native();
    std::size_t callers = 0;
    bool isCalled = false;
    for (std::size_t i = 0; i < count && callers < kShownCallers; ++i) {
        // A return address may be that of the next line, or function.
        places.push_back(PlaceOf(notes.frames[i] - (i == 0 ? 0 : 1), notes, mappings));
        isCalled = isCalled || places.back().file != program;
        callers = isCalled && places.back().file == program ? callers + 1 : 0;
        if (!places.back().file.empty()) {
            questions << '"' << places.back().file << "\" 0x" << std::hex << places.back().offset << '\n';
        }
    }
    const std::vector<std::string> names = Symbolized(questions.str());
    std::vector<std::string> lines;
    std::size_t next = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
        std::ostringstream line;
        const Place& place = places[i];
        if (place.file.empty()) {
            line << "0x" << std::hex << notes.frames[i];
        } else {
            const std::string name = next < names.size() ? names[next] : "";
            ++next;
            const std::size_t end = name.find(" at ??:");
            if (name.empty() || name.starts_with("??")) {
                line << place.Name() << "+0x" << std::hex << place.offset;
            } else {
                line << name.substr(0, end) << " (" << place.Name() << ")";
            }
        }
        lines.push_back(line.str());
    }
    return lines;
}

}  // namespace checker
