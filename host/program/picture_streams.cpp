// picture_streams.cpp - the streams by way of memory and of a temporary file.

#include "host/program/picture_streams.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <system_error>

#include "host/program/ending_signals.h"
#include "host/program/exit_status.h"
#include "host/program/platform_pool.h"
#include "host/runtime/errors.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/text.h"

namespace {

// Runs work. A failure at one place is reported as one at another.
template <typename Work>
auto Renaming(const std::string& place, const std::string& name, int ofException, const Work& work) {
    try {
        return work();
    } catch (const std::exception&) {
        const Failure failure = FailureOfError(ofException);
        const std::string text = failure.what();
        if (!text.starts_with(place + ": ")) throw failure;
        throw Failure(failure.Status(), name + text.substr(place.size()));
    }
}

// A new folder for temporary files, which is removed with what is in it.
class TemporaryFolder {
  public:
    TemporaryFolder() : path_((std::filesystem::temp_directory_path() / "zeva-XXXXXX").string()) {
        // Before the folder has its name, no folder has that of the pattern.
        RemoveFolderAtSignals(path_.c_str());
        if (mkdtemp(path_.data()) != nullptr) return;
        const int error = errno;
        RemoveFolderAtSignals(nullptr);
        throw Failure(kMachineFailed, path_ + ": " + host::SystemReason(error) + "; nothing was written");
    }
    ~TemporaryFolder() {
        RemoveFolderAtSignals(nullptr);
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace

host::Value OpenedFromInput(host::Host& host) {
    std::string bytes;
    char buffer[1 << 16];
    const std::uint64_t limit = PlatformMemoryLimit();
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, stdin)) {
        bytes.append(buffer, count);
        if (bytes.size() <= limit) continue;
        throw Failure(kFailed, "standard input: more bytes than the memory limit of " + std::to_string(limit >> 20) +
                                   " MB; no image was opened");
    }
    if (std::ferror(stdin) != 0) {
        throw Failure(kMachineFailed, "standard input: " + host::SystemReason(errno) + "; no image was opened");
    }
    const host::ObjectReference block = host::NewMemoryBlockOf(bytes);
    if (!block) throw std::bad_alloc();
    const host::Value data[] = {block};
    return Renaming("CIImageQOR.FromData", "standard input", kFailed,
                    [&] { return host.CallShared("CIImageQOR", "FromData", data); });
}

void WriteToOutput(const std::string& format, const std::function<void(const std::string& file)>& save) {
    if (isatty(STDOUT_FILENO) != 0) {
        throw UsageError("standard output: it is a terminal, expected a pipe or a file; nothing was written");
    }
    std::ifstream written;
    {
        const TemporaryFolder folder;
        const std::string file = folder.Path() + "/picture." + format;
        Renaming(file, "--format " + format, kWrongUsage, [&] { save(file); });
        written.open(file, std::ios::binary);
    }
    // What the stream does not take is reported when the program ends (standard_streams.h).
    char buffer[1 << 16];
    while (written.read(buffer, sizeof buffer), written.gcount() > 0) {
        std::fwrite(buffer, 1, static_cast<std::size_t>(written.gcount()), stdout);
    }
    if (!written.eof()) {
        throw Failure(kMachineFailed, "standard output: the temporary file cannot be read; the output is incomplete");
    }
}
