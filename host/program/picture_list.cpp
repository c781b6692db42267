// picture_list.cpp - splits lists and hashes names.

#include "host/program/picture_list.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <memory>

#include "host/program/exit_status.h"
#include "host/program/picture_streams.h"
#include "host/runtime/text.h"

std::vector<std::string> NamesInList(const std::string& list) {
    const bool isInput = list == kStandardStream;
    const auto closed = [](std::FILE* file) {
        if (file != nullptr && file != stdin) std::fclose(file);
    };
    const std::unique_ptr<std::FILE, decltype(closed)> file(isInput ? stdin : std::fopen(list.c_str(), "re"), closed);
    std::string content;
    if (file != nullptr) {
        char buffer[1 << 16];
        while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get())) {
            content.append(buffer, count);
        }
    }
    if (file == nullptr || std::ferror(file.get()) != 0) {
        throw UsageError((isInput ? "standard input" : list) + ": the list of pictures cannot be read (" +
                         host::SystemReason(errno) + "); nothing was written");
    }
    const char separator = content.find('\0') != std::string::npos ? '\0' : '\n';
    std::vector<std::string> names;
    for (std::size_t at = 0; at < content.size();) {
        const std::size_t end = std::min(content.find(separator, at), content.size());
        if (end > at) names.push_back(content.substr(at, end - at));
        at = end + 1;
    }
    return names;
}

bool Shard::Has(std::string_view name) const {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : name) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    return (hash ^ hash >> 32) % count == number;
}

Shard ReadShard(const std::string& text) {
    if (text.empty()) return {};
    Shard shard;
    const char* const end = text.data() + text.size();
    const auto number = std::from_chars(text.data(), end, shard.number);
    const bool hasSlash = number.ec == std::errc() && number.ptr != end && *number.ptr == '/';
    const auto count = hasSlash ? std::from_chars(number.ptr + 1, end, shard.count) : number;
    if (!hasSlash || count.ec != std::errc() || count.ptr != end || shard.number >= shard.count) {
        throw UsageError("--shard: '" + text + "' is not a part of a list, expected i/n with i from 0 to n - 1");
    }
    return shard;
}
