// files.cpp - reads or maps whole files; writes to a temporary name beside the final one, then renames.
//
// The temporary name, ".NAME.zeva-part", lies in the folder of the final one because a file can only be renamed within
// its file system. A file of that name is locked while it is written. One without a lock was left by a process that was
// killed; the next writer takes it over. Of a long name only the beginning is used, so that two long names may share a
// temporary one; their writers wait for each other.
//
// A file with several hard links is replaced like any other, so that its other names keep the old bytes: these names
// are mostly backups. Writing in place would change them, and would leave half a picture on a full disk.

#include "files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>

namespace image_io {

// An entry of the list of unfinished files. Entries are used again and never freed, so that a signal handler can read
// the list at any time.
struct UnfinishedFile {
    std::atomic<const char*> name;  // null in an entry that is free
    UnfinishedFile* next;
};

namespace {

// Reads exactly this many bytes, in several reads if necessary. A premature end of file is an error.
int ReadAll(int file, char* bytes, std::size_t length) {
    while (length > 0) {
        const ssize_t count = read(file, bytes, length);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return count < 0 ? errno : EIO;
        bytes += count;
        length -= static_cast<std::size_t>(count);
    }
    return 0;
}

// Writes all bytes, in several writes if necessary.
int WriteAll(int file, const char* bytes, std::size_t length) {
    while (length > 0) {
        const ssize_t count = write(file, bytes, length);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return count < 0 ? errno : EIO;
        bytes += count;
        length -= static_cast<std::size_t>(count);
    }
    return 0;
}

// Reads the parts of a file that hold data into zeroed memory. The holes of a sparse file are not read.
int ReadData(int file, char* bytes, std::size_t length) {
    const auto end = static_cast<off_t>(length);
    for (off_t at = 0; at < end;) {
        const off_t data = lseek(file, at, SEEK_DATA);
        if (data < 0) return errno == ENXIO ? 0 : errno;  // ENXIO: only a hole is left
        if (data >= end) return 0;
        at = std::min(lseek(file, data, SEEK_HOLE), end);
        if (at <= data || lseek(file, data, SEEK_SET) != data) return EIO;
        if (const int error = ReadAll(file, bytes + data, static_cast<std::size_t>(at - data)); error != 0)
            return error;
    }
    return 0;
}

// Reads a regular file from its descriptor. Allocates nothing when that fails.
int ReadOpenFile(int file, FileContent* content) {
    // On 32 bits, 1 GB: the address space has no room for more, and no picture that fits into it has a larger file.
    // What a file holds beyond that cannot be part of its picture.
    constexpr std::uint64_t kLongestRead = SIZE_MAX / 4;
    // The pages of larger files take memory only while they are read.
    constexpr std::size_t kSmallestMapped = 1 << 20;
    struct stat status;
    if (fstat(file, &status) != 0) return errno;
    if (!S_ISREG(status.st_mode)) return EINVAL;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    content->length = static_cast<std::size_t>(std::min(size, kLongestRead));
    if (content->length >= kSmallestMapped) {
        content->mapping = Map(file, content->length);
        if (content->mapping != nullptr) {
            content->bytes = BytesOf(*content->mapping);
            return 0;
        }
    }
    // One byte extra, because calloc may return null for an empty file.
    content->bytes = std::calloc(content->length + 1, 1);
    const int error =
        content->bytes != nullptr ? ReadData(file, static_cast<char*>(content->bytes), content->length) : ENOMEM;
    if (error == 0) return 0;
    std::free(content->bytes);
    *content = {};
    return error;
}

// Returns the folder of a path with its slash; empty for a name without one.
std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

// Follows the links that a path ends in. The last one may point to a file that does not exist.
int FollowLinks(std::string* path) {
    constexpr int kMostLinks = 40;  // as many as the kernel follows
    for (int i = 0; i < kMostLinks; ++i) {
        char target[PATH_MAX];
        const ssize_t length = readlink(path->c_str(), target, sizeof target);
        if (length < 0) return errno == EINVAL || errno == ENOENT ? 0 : errno;  // EINVAL: not a link
        const std::string name(target, static_cast<std::size_t>(length));
        *path = name.starts_with('/') ? name : FolderOf(*path) + name;
    }
    return ELOOP;
}

// Gives a new file the owner, the group and the mode of the one that it replaces.
//
// Nothing is refused here: an owner that cannot be kept is the writer, who may write the file. The bits that let a
// program run as its owner are dropped then.
void TakeOver(int file, const struct stat& replaced) {
    struct stat own;
    mode_t mode = replaced.st_mode & 07777;
    const bool isSame = fstat(file, &own) == 0 && own.st_uid == replaced.st_uid && own.st_gid == replaced.st_gid;
    if (!isSame && fchown(file, replaced.st_uid, replaced.st_gid) != 0) {
        mode &= 01777;
        static_cast<void>(fchown(file, static_cast<uid_t>(-1), replaced.st_gid));
    }
    static_cast<void>(fchmod(file, mode));
}

bool IsSameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

// Returns the temporary name of a path.
std::string PartOf(const std::string& path) {
    const std::string folder = FolderOf(path), suffix = ".zeva-part";
    return folder + "." + path.substr(folder.size(), NAME_MAX - 1 - suffix.size()) + suffix;
}

// Whether a file is still the one of a name, and one that this process may have written: a plain file of its user, with
// one name.
bool IsOwnPart(int file, const std::string& name) {
    struct stat opened, named;
    return fstat(file, &opened) == 0 && lstat(name.c_str(), &named) == 0 && IsSameFile(opened, named) &&
           S_ISREG(opened.st_mode) && opened.st_nlink == 1 && opened.st_uid == geteuid();
}

std::atomic<UnfinishedFile*> unfinishedFiles = nullptr;

// Adds a name to the list of unfinished files. Returns its entry; null when there is no memory for one.
UnfinishedFile* Note(const char* name) {
    for (UnfinishedFile* entry = unfinishedFiles; entry != nullptr; entry = entry->next) {
        const char* none = nullptr;
        if (entry->name.compare_exchange_strong(none, name)) return entry;
    }
    auto* entry = new (std::nothrow) UnfinishedFile{name, unfinishedFiles};
    while (entry != nullptr && !unfinishedFiles.compare_exchange_weak(entry->next, entry)) {
    }
    return entry;
}

// The files that exist and are not in the list yet.
std::atomic<int> filesBeforeNote = 0;

// Keeps signals from this thread between the creation of a file and its note. A handler that runs on another thread
// waits for the note.
class BeforeNote {
  public:
    BeforeNote() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
        ++filesBeforeNote;
    }
    ~BeforeNote() {
        --filesBeforeNote;
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    BeforeNote(const BeforeNote&) = delete;

  private:
    sigset_t before_;
};

// Creates the temporary file of a path, or takes over one that nobody writes, stores its name and notes it. Waits for
// another writer of the same file. Returns the descriptor, or -1.
int CreatePart(const std::string& path, std::string* name, UnfinishedFile** noted) {
    constexpr useconds_t kPause = 10'000;
    constexpr int kMostPauses = 1000;
    *name = PartOf(path);
    for (int pauses = 0; pauses < kMostPauses; ++pauses) {
        if (pauses > 0 && errno == EWOULDBLOCK) usleep(kPause);
        const BeforeNote beforeNote;
        const int file = open(name->c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
        if (file < 0) return -1;
        // A file system without locks has no other writer that could be noticed.
        const bool isBusy = flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        if (!isBusy && IsOwnPart(file, *name)) {
            if (ftruncate(file, 0) == 0) {
                *noted = Note(name->c_str());
                return file;
            }
            const int error = errno;
            close(file);
            errno = error;
            return -1;
        }
        struct stat named;
        const bool isForeign = !isBusy && lstat(name->c_str(), &named) == 0 &&
                               (!S_ISREG(named.st_mode) || named.st_nlink != 1 || named.st_uid != geteuid());
        close(file);
        if (isForeign && unlink(name->c_str()) != 0) return -1;
        errno = isBusy ? EWOULDBLOCK : 0;
    }
    errno = EBUSY;
    return -1;
}

// Whether files and their folders are on the disk before they count as written.
std::atomic<bool> isSynced = false;

int SyncFolder(const std::string& path) {
    const std::string folder = FolderOf(path);
    const int file = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) return errno;
    // Some file systems have nothing to sync for a folder and refuse.
    const int error = fsync(file) != 0 && errno != EINVAL ? errno : 0;
    close(file);
    return error;
}

}  // namespace

int ReadFile(const char* path, FileContent* content) {
    // O_NONBLOCK, because opening a pipe without a writer would block.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return errno;
    const int error = ReadOpenFile(file, content);
    close(file);
    return error;
}

void FileContent::Free() {
    if (mapping != nullptr) {
        Unmap(mapping);
    } else {
        std::free(bytes);
    }
    *this = {};
}

bool FileContent::HasBeenShortened() const { return mapping != nullptr && image_io::HasBeenShortened(*mapping); }

FileWriter::~FileWriter() {
    if (file_ >= 0 && !isDirect_) unlink(temporary_.c_str());
    if (file_ >= 0) Leave();
}

int FileWriter::Open(const char* path) {
    struct stat existing;
    const bool exists = stat(path, &existing) == 0;
    if (!exists && errno != ENOENT) return errno;
    isDirect_ = exists && !S_ISREG(existing.st_mode);
    if (exists && !isDirect_ && faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) != 0) return errno;
    int flags = O_WRONLY | O_CLOEXEC;
    if (!isDirect_) {
        target_ = path;
        if (const int error = FollowLinks(&target_); error != 0) return error;
        // A link below /proc may stand for a file that has no name any more.
        struct stat followed;
        isDirect_ = exists && (stat(target_.c_str(), &followed) != 0 || !IsSameFile(existing, followed));
        flags |= O_TRUNC;
    }
    file_ = isDirect_ ? open(path, flags) : CreatePart(target_, &temporary_, &unfinished_);
    if (file_ < 0) return errno;
    if (exists && !isDirect_) TakeOver(file_, existing);
    return 0;
}

int FileWriter::Leave() {
    if (unfinished_ != nullptr) std::exchange(unfinished_, nullptr)->name = nullptr;
    return close(std::exchange(file_, -1)) == 0 ? 0 : errno;
}

int FileWriter::Write(const void* bytes, std::size_t length) {
    const char* const text = static_cast<const char*>(bytes);
    if (!isDirect_) return WriteAll(file_, text, length);
    try {
        kept_.append(text, length);
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
    return 0;
}

int FileWriter::WriteWhole(const void* bytes, std::size_t length) {
    return WriteAll(file_, static_cast<const char*>(bytes), length);
}

int FileWriter::Restart() {
    kept_.clear();
    if (isDirect_) return 0;
    return ftruncate(file_, 0) == 0 && lseek(file_, 0, SEEK_SET) == 0 ? 0 : errno;
}

int FileWriter::Close() {
    int error = WriteAll(file_, kept_.data(), kept_.size());
    if (isDirect_) {
        const int closing = Leave();
        return error != 0 ? error : closing;
    }
    if (error == 0 && isSynced && fsync(file_) != 0) error = errno;
    // A network file system may report only when a file is closed that its disk is full. The lock stays with file_.
    const int other = dup(file_);
    if (other >= 0 && close(other) != 0 && error == 0) error = errno;
    if (error == 0 && std::rename(temporary_.c_str(), target_.c_str()) != 0) error = errno;
    if (error != 0) unlink(temporary_.c_str());
    static_cast<void>(Leave());
    if (error == 0 && isSynced) error = SyncFolder(target_);
    return error;
}

void SetSynced(bool on) { isSynced = on; }

void DiscardUnfinishedFiles() {
    constexpr int kMostWaits = 1000;  // milliseconds
    for (int waits = 0; filesBeforeNote > 0 && waits < kMostWaits; ++waits) poll(nullptr, 0, 1);
    for (const UnfinishedFile* entry = unfinishedFiles; entry != nullptr; entry = entry->next) {
        const char* const name = entry->name;
        if (name != nullptr) unlink(name);
    }
}

int WriteFile(const char* path, const void* bytes, std::size_t length) {
    FileWriter file;
    int error = file.Open(path);
    if (error == 0) error = file.WriteWhole(bytes, length);
    return error == 0 ? file.Close() : error;
}

}  // namespace image_io
