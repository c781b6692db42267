// write_file.cpp - writes the file and checks every step, because the last one may be the first to notice a full disk.

#include "host/runtime/write_file.h"

#include <cerrno>
#include <cstdio>

#include "host/runtime/errors.h"
#include "host/runtime/text.h"

namespace host {

void WriteFile(const std::filesystem::path& file, std::string_view content) {
    std::FILE* stream = std::fopen(file.c_str(), "wbe");
    int error = stream == nullptr ? errno : 0;
    if (stream != nullptr && std::fwrite(content.data(), 1, content.size(), stream) != content.size()) error = errno;
    if (stream != nullptr && std::fclose(stream) != 0 && error == 0) error = errno;
    if (error != 0) throw HostError(file.string(), "it cannot be written (" + SystemReason(error) + ")", error);
}

}  // namespace host
