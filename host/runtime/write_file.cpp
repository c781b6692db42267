// write_file.cpp - writes beside the file and renames, and checks every step, because the last one may be the first to
// notice a full disk.

#include "host/runtime/write_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include "host/runtime/errors.h"
#include "host/runtime/part_file.h"
#include "host/runtime/text.h"

namespace host {
namespace {

namespace fs = std::filesystem;

// Opens a file in a mode and writes to it. Returns the error number, 0 for none.
int WriteTo(const std::string& path, const char* mode, std::string_view content, const struct stat* replaced) {
    std::FILE* stream = std::fopen(path.c_str(), mode);
    if (stream == nullptr) return errno;
    int error = std::fwrite(content.data(), 1, content.size(), stream) != content.size() ? errno : 0;
    // The new file may be used like the old one. An owner that cannot be kept is the writer.
    if (replaced != nullptr && fchown(fileno(stream), replaced->st_uid, replaced->st_gid) == 0) {
        static_cast<void>(fchmod(fileno(stream), replaced->st_mode & 07777));
    }
    if (std::fclose(stream) != 0 && error == 0) error = errno;
    return error;
}

}  // namespace

void WriteFile(const fs::path& file, std::string_view content) {
    struct stat existing;
    const bool exists = stat(file.c_str(), &existing) == 0;
    std::error_code unknown;
    const fs::path target = exists ? fs::canonical(file, unknown) : file;
    // A link that leads nowhere makes its file; one below /proc may stand for a file without a name.
    const bool isDirect = exists ? !S_ISREG(existing.st_mode) || unknown : fs::is_symlink(file, unknown);
    int error = exists && access(file.c_str(), W_OK) != 0 ? errno : 0;
    if (error == 0 && isDirect) {
        error = WriteTo(file.string(), "wbe", content, nullptr);
    } else if (error == 0) {
        const std::string part = PartFileOf(target.string());
        // What was left is removed, because it could be a link.
        unlink(part.c_str());
        error = WriteTo(part, "wbxe", content, exists ? &existing : nullptr);
        if (error == 0 && std::rename(part.c_str(), target.c_str()) != 0) error = errno;
        if (error != 0) unlink(part.c_str());
    }
    if (error != 0) throw HostError(file.string(), "it cannot be written (" + SystemReason(error) + ")", error);
}

}  // namespace host
