// sandbox.cpp - the rules for Landlock, the filter for seccomp, and the handler that notes what both refuse.
//
// Landlock refuses without telling anyone, so the filter also sends each call that names a file to the handler. The
// handler makes the same call again, with a number in its unused sixth argument that lets it pass the filter.

#include "host/checker/sandbox.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <set>
#include <system_error>
#include <vector>

#include "host/checker/child.h"

namespace checker {

namespace {

#ifdef __x86_64__
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
constexpr std::array kArguments = {REG_RDI, REG_RSI, REG_RDX, REG_R10, REG_R8};
constexpr int kResult = REG_RAX;
#else
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_I386;
constexpr std::array kArguments = {REG_EBX, REG_ECX, REG_EDX, REG_ESI, REG_EDI};
constexpr int kResult = REG_EAX;
#endif

// The lower half of the sixth argument with which the handler's own calls pass. Not a secret: a module that knows it
// could also unmap the handler. The sandbox finds accidents; it does not contain attacks.
constexpr std::uint32_t kPass = 0x5a657661;

// A call that the filter sends to the handler.
struct WatchedCall {
    long number;
    const char* words;  // what the process tried
    int path;           // the argument that is the path of a file; kNoPath for a call that is refused in any case
};
constexpr int kNoPath = -1;

constexpr WatchedCall kWatchedCalls[] = {
    {SYS_open, "opening", 0},
    {SYS_openat, "opening", 1},
    {SYS_openat2, "opening", 1},
    {SYS_creat, "creating", 0},
    {SYS_truncate, "truncating", 0},
    {SYS_unlink, "removing", 0},
    {SYS_unlinkat, "removing", 1},
    {SYS_rmdir, "removing", 0},
    {SYS_mkdir, "creating", 0},
    {SYS_mkdirat, "creating", 1},
    {SYS_mknod, "creating", 0},
    {SYS_mknodat, "creating", 1},
    {SYS_symlink, "creating", 1},
    {SYS_symlinkat, "creating", 2},
    {SYS_link, "linking", 0},
    {SYS_linkat, "linking", 1},
    {SYS_rename, "renaming", 0},
    {SYS_renameat, "renaming", 1},
    {SYS_renameat2, "renaming", 1},
#ifdef SYS_truncate64
    {SYS_truncate64, "truncating", 0},
#endif
#ifdef SYS_socketcall
    {SYS_socketcall, "opening a socket", kNoPath},
#endif
    {SYS_socket, "opening a socket", kNoPath},
    {SYS_socketpair, "opening a socket", kNoPath},
    {SYS_execve, "running a program", kNoPath},
    {SYS_execveat, "running a program", kNoPath},
    {SYS_fork, "starting a process", kNoPath},
    {SYS_vfork, "starting a process", kNoPath},
    {SYS_io_uring_setup, "setting up an io_uring", kNoPath},
};

// The rights of Landlock. The last is newer than the headers.
constexpr std::uint64_t kRightToTruncate = std::uint64_t{1} << 14;
constexpr std::uint64_t kReading =
    LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;

// What programs read wherever they run.
constexpr const char* kSystemFolders[] = {"/usr", "/lib", "/lib32", "/lib64", "/bin", "/etc", "/proc", "/sys", "/dev"};

[[noreturn]] void Fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

// The version of the system's Landlock; 0 when it has none.
int LandlockVersion() {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    return version < 0 ? 0 : static_cast<int>(version);
}

std::uint64_t AllRights(int version) {
    std::uint64_t rights = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;
    if (version >= 2) rights |= LANDLOCK_ACCESS_FS_REFER;
    if (version >= 3) rights |= kRightToTruncate;
    return rights;
}

// Allows a folder, or a file, if it is there.
void Allow(int rules, const std::filesystem::path& path, std::uint64_t rights) {
    const int parent = open(path.c_str(), O_PATH | O_CLOEXEC);
    if (parent < 0) return;
    struct stat kind = {};
    if (fstat(parent, &kind) == 0 && !S_ISDIR(kind.st_mode)) {
        rights &= LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE;
    }
    const landlock_path_beneath_attr rule = {.allowed_access = rights, .parent_fd = parent};
    const long status = syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
    close(parent);
    if (status != 0) Fail("checker: cannot add a rule to the sandbox");
}

// The folders of the files that this process has mapped: its program and its libraries, wherever they are.
std::set<std::filesystem::path> FoldersInUse() {
    std::set<std::filesystem::path> folders;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (const auto path = line.find('/'); path != std::string::npos) {
            folders.insert(std::filesystem::path(line.substr(path)).parent_path());
        }
    }
    folders.erase("/");
    return folders;
}

// The folders where the loader looks for the libraries that the module will need.
std::vector<std::filesystem::path> LibraryFolders() {
    void* program = dlopen(nullptr, RTLD_LAZY);
    Dl_serinfo size = {};
    if (program == nullptr || dlinfo(program, RTLD_DI_SERINFOSIZE, &size) != 0) return {};
    std::vector<std::max_align_t> memory(size.dls_size / sizeof(std::max_align_t) + 1);
    auto* paths = new (memory.data()) Dl_serinfo(size);
    if (dlinfo(program, RTLD_DI_SERINFO, paths) != 0) return {};
    std::vector<std::filesystem::path> folders;
    for (unsigned i = 0; i < paths->dls_cnt; ++i) folders.emplace_back(paths->dls_serpath[i].dls_name);
    return folders;
}

void RestrictFiles(const Sandbox& sandbox) {
    const std::uint64_t all = AllRights(LandlockVersion());
    const landlock_ruleset_attr handled = {.handled_access_fs = all};
    const int rules = static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0));
    if (rules < 0) Fail("checker: cannot make the rules of the sandbox");
    Allow(rules, sandbox.folder, all);
    Allow(rules, "/dev/null", all);
    for (const char* folder : kSystemFolders) Allow(rules, folder, kReading);
    for (const std::filesystem::path& folder : FoldersInUse()) Allow(rules, folder, kReading);
    for (const std::filesystem::path& folder : LibraryFolders()) Allow(rules, folder, kReading);
    for (const std::filesystem::path& folder : sandbox.readable) Allow(rules, folder, kReading);
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    Allow(rules, program.parent_path().parent_path(), kReading);
    const long status = syscall(SYS_landlock_restrict_self, rules, 0);
    close(rules);
    if (status != 0) Fail("checker: cannot restrict the files of the sandbox");
}

sock_filter Statement(unsigned code, std::uint32_t value) { return BPF_STMT(static_cast<std::uint16_t>(code), value); }
sock_filter Jump(unsigned code, std::uint32_t value, std::uint8_t ifTrue, std::uint8_t ifFalse) {
    return BPF_JUMP(static_cast<std::uint16_t>(code), value, ifTrue, ifFalse);
}

// The filter: a call of another architecture, a process and a watched call trap; clone3 is unknown; the rest is
// allowed.
std::vector<sock_filter> Filter() {
    constexpr unsigned kLoad = BPF_LD | BPF_W | BPF_ABS, kEqual = BPF_JMP | BPF_JEQ | BPF_K, kReturn = BPF_RET | BPF_K;
    std::vector<sock_filter> filter = {
        Statement(kLoad, offsetof(seccomp_data, arch)),
        Jump(kEqual, kArchitecture, 1, 0),
        Statement(kReturn, SECCOMP_RET_TRAP),
        Statement(kLoad, offsetof(seccomp_data, nr)),
        Jump(kEqual, SYS_clone3, 0, 1),
        Statement(kReturn, SECCOMP_RET_ERRNO | ENOSYS),
        // A thread is a clone with this flag.
        Jump(kEqual, SYS_clone, 0, 4),
        Statement(kLoad, offsetof(seccomp_data, args)),
        Jump(BPF_JMP | BPF_JSET | BPF_K, CLONE_THREAD, 0, 1),
        Statement(kReturn, SECCOMP_RET_ALLOW),
        Statement(kReturn, SECCOMP_RET_TRAP),
    };
    // The C library looks for a daemon on this machine when it is asked for the name of a user, and Foundation asks. It
    // does without, so this is refused and not noted.
    filter.insert(filter.end(), {
                                    Jump(kEqual, SYS_socket, 0, 4),
                                    Statement(kLoad, offsetof(seccomp_data, args)),
                                    Jump(kEqual, AF_UNIX, 0, 1),
                                    Statement(kReturn, SECCOMP_RET_ERRNO | EACCES),
                                    Statement(kReturn, SECCOMP_RET_TRAP),
                                });
    for (const WatchedCall& call : kWatchedCalls) {
        filter.push_back(Jump(kEqual, static_cast<std::uint32_t>(call.number), 0, call.path == kNoPath ? 1 : 4));
        if (call.path != kNoPath) {
            filter.push_back(Statement(kLoad, offsetof(seccomp_data, args[5])));
            filter.push_back(Jump(kEqual, kPass, 0, 1));
            filter.push_back(Statement(kReturn, SECCOMP_RET_ALLOW));
        }
        filter.push_back(Statement(kReturn, SECCOMP_RET_TRAP));
    }
    filter.push_back(Statement(kReturn, SECCOMP_RET_ALLOW));
    return filter;
}

// Whether a call opens a socket to a daemon on this machine by the older call, whose arguments the filter cannot see.
bool IsOldLocalSocket([[maybe_unused]] int number, [[maybe_unused]] const greg_t* registers) {
#ifdef SYS_socketcall
    constexpr greg_t kOpen = 1;
    return number == SYS_socketcall && registers[kArguments[0]] == kOpen &&
           *reinterpret_cast<const long*>(registers[kArguments[1]]) == AF_UNIX;
#else
    return false;
#endif
}

// Gets the calls that trap. It uses nothing that a call could be interrupted in.
void OnTrap(int, siginfo_t* information, void* context) {
    greg_t* registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const int savedError = errno;
    if (IsOldLocalSocket(information->si_syscall, registers)) {
        registers[kResult] = -EACCES;
        return;
    }
    const char* words = information->si_arch == kArchitecture ? "starting a process" : "calling another system";
    registers[kResult] = -EPERM;
    for (const WatchedCall& call : kWatchedCalls) {
        if (information->si_arch != kArchitecture || information->si_syscall != call.number) continue;
        words = call.words;
        if (call.path == kNoPath) break;
        std::array<long, kArguments.size()> arguments;
        for (std::size_t i = 0; i < arguments.size(); ++i) arguments[i] = static_cast<long>(registers[kArguments[i]]);
        const long result = syscall(call.number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4],
                                    static_cast<long>(kPass));
        registers[kResult] = static_cast<greg_t>(result < 0 ? -errno : result);
        // The system has read the path already if it looked at the rights.
        const char* path = reinterpret_cast<const char*>(arguments[static_cast<std::size_t>(call.path)]);
        if (result < 0 && errno == EACCES) NoteTry(words, path);
        errno = savedError;
        return;
    }
    NoteTry(words, "");
    errno = savedError;
}

void RestrictCalls() {
    struct sigaction action = {};
    action.sa_sigaction = OnTrap;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    if (sigaction(SIGSYS, &action, nullptr) != 0) Fail("checker: cannot handle SIGSYS");
    std::vector<sock_filter> filter = Filter();
    const sock_fprog program = {.len = static_cast<unsigned short>(filter.size()), .filter = filter.data()};
    if (syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) != 0) {
        Fail("checker: cannot restrict the calls of the sandbox");
    }
}

}  // namespace

std::string ObstacleToSandbox() {
#if __has_feature(address_sanitizer)
    return "this build's leak checker starts processes";
#endif
    if (LandlockVersion() == 0) return "the kernel has no Landlock";
    const std::uint32_t action = SECCOMP_RET_TRAP;
    if (syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) != 0) return "the kernel has no seccomp filters";
    return "";
}

void EnterSandbox(const Sandbox& sandbox) {
    setenv("HOME", sandbox.folder.c_str(), 1);
    setenv("TMPDIR", sandbox.folder.c_str(), 1);
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) Fail("checker: cannot give up rights");
    RestrictFiles(sandbox);
    RestrictCalls();
}

}  // namespace checker
