// files.h - reads and writes whole files.
//
// Paths are bytes: they need not be text.
//
// Failure: the system's error number, 0 for none; nothing is printed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <string>

#include "encode.h"
#include "mapped_file.h"

namespace image_io {

// The content of a file.
struct FileContent {
    void* bytes = nullptr;  // freed by Free()
    std::size_t length = 0;
    MappedFile* mapping = nullptr;  // what the bytes belong to when the file is mapped

    void Free();

    // Whether the file has become shorter since, so that some of the bytes read as zeros.
    [[nodiscard]] bool HasBeenShortened() const;
};

// Reads a file, or maps a large one into memory; on 32 bits at most its first GB. Fails and allocates nothing when the
// file does not exist, is not a regular file (EINVAL), or does not fit in memory (ENOMEM).
[[nodiscard]] int ReadFile(const char* path, FileContent* content);

struct UnfinishedFile;

// A file that is written piece by piece. A link is followed.
//
// A regular file gets its name only when it is complete; until then it is ".NAME.zeva-part" in the same folder, and an
// existing file of that name stays as it is. When two processes write one file, the second waits, at most ten seconds
// (EBUSY). The new file takes over the mode of the existing one, and its owner and group where that is permitted. An
// existing file without write permission is refused. Anything else that exists, such as a pipe or a device, is written
// to directly.
//
// What goes to a pipe or a device is kept until the file is complete, because it may begin again.
class FileWriter : public ByteSink {
  public:
    FileWriter() = default;
    ~FileWriter() override;  // gives up a file that is not complete; no temporary file is left behind

    [[nodiscard]] int Open(const char* path);
    [[nodiscard]] int Write(const void* bytes, std::size_t length) override;
    [[nodiscard]] int Restart() override;

    // Writes all of the file.
    [[nodiscard]] int WriteWhole(const void* bytes, std::size_t length);

    // Completes the file.
    [[nodiscard]] int Close();

  private:
    // Closes the file, which is complete or given up. Returns the error number.
    int Leave();

    int file_ = -1;
    bool isDirect_ = false;  // whether the file is written in one piece and has no temporary name
    std::string target_, temporary_;
    UnfinishedFile* unfinished_ = nullptr;
    std::string kept_;
};

// Decides whether a regular file and its folder are on the disk, and not only in the system's memory, when the file
// counts as written. By default they need not be.
void SetSynced(bool on);

// Removes the temporary files of all FileWriters of the process, which is about to end. A signal handler may call this.
void DiscardUnfinishedFiles();

// Writes a file in one piece.
[[nodiscard]] int WriteFile(const char* path, const void* bytes, std::size_t length);

}  // namespace image_io
