// handmade_png.cpp - writes chunks and checksums; the rows go into an uncompressed stream.

#include "handmade_png.h"

namespace {

void Append(FileBytes& to, const FileBytes& from) { to.insert(to.end(), from.begin(), from.end()); }

FileBytes BigEndian(std::uint32_t number) {
    return {static_cast<std::uint8_t>(number >> 24), static_cast<std::uint8_t>(number >> 16),
            static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
}

std::uint32_t CyclicChecksum(const FileBytes& bytes) {
    std::uint32_t checksum = 0xffffffff;
    for (std::uint8_t byte : bytes) {
        checksum ^= byte;
        for (int bit = 0; bit < 8; ++bit) checksum = (checksum >> 1) ^ ((checksum & 1) != 0 ? 0xedb88320 : 0);
    }
    return ~checksum;
}

std::uint32_t AdlerChecksum(const FileBytes& bytes) {
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (std::uint8_t byte : bytes) {
        low = (low + byte) % 65521;
        high = (high + low) % 65521;
    }
    return high << 16 | low;
}

// Returns a zlib stream of one stored (uncompressed) block; the content must be shorter than 64 KB.
FileBytes Stored(const FileBytes& content) {
    const auto length = static_cast<std::uint16_t>(content.size());
    const auto inverse = static_cast<std::uint16_t>(~length);
    FileBytes stream = {0x78,
                        0x01,
                        1,
                        static_cast<std::uint8_t>(length),
                        static_cast<std::uint8_t>(length >> 8),
                        static_cast<std::uint8_t>(inverse),
                        static_cast<std::uint8_t>(inverse >> 8)};
    Append(stream, content);
    Append(stream, BigEndian(AdlerChecksum(content)));
    return stream;
}

}  // namespace

FileBytes Chunk(const std::string& type, const FileBytes& content) {
    FileBytes checked(type.begin(), type.end());
    Append(checked, content);
    FileBytes chunk = BigEndian(static_cast<std::uint32_t>(content.size()));
    Append(chunk, checked);
    Append(chunk, BigEndian(CyclicChecksum(checked)));
    return chunk;
}

FileBytes HandmadePNG::Bytes() const {
    FileBytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    FileBytes header = BigEndian(width);
    Append(header, BigEndian(height));
    Append(header, {depth, colorType, 0, 0, static_cast<std::uint8_t>(isInterlaced ? 1 : 0)});
    Append(file, Chunk("IHDR", header));
    if (!gamma.empty()) Append(file, Chunk("gAMA", gamma));
    if (!profile.empty()) {
        FileBytes content = {'p', 0, 0};  // its name, a zero byte, and compression method 0
        Append(content, Stored(profile));
        Append(file, Chunk("iCCP", content));
    }
    if (!palette.empty()) Append(file, Chunk("PLTE", palette));
    if (!transparency.empty()) Append(file, Chunk("tRNS", transparency));
    FileBytes filtered;
    for (const FileBytes& row : rows) {
        filtered.push_back(0);
        Append(filtered, row);
    }
    Append(file, Chunk("IDAT", Stored(filtered)));
    Append(file, Chunk("IEND", {}));
    return file;
}
