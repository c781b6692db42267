// object_path.cpp - object files by their path.

#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "host/macho/format.h"
#include "host/macho/load_object.h"

namespace host::macho {

bool IsMachO(const std::filesystem::path& path) {
    std::uint32_t magic = 0;
    std::ifstream stream(path, std::ios::binary);
    stream.read(reinterpret_cast<char*>(&magic), sizeof magic);
    // Of this byte order: no other can run here.
    return stream && (magic == format::kMagic32 || magic == format::kMagic64);
}

LoadedObject LoadObject(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) throw ObjectError("file", "it cannot be read");
    return LoadObject(std::span(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
}

}  // namespace host::macho
