// object_path.cpp - recognizes and loads object files by path.

#include <cstdint>
#include <fstream>
#include <iterator>
#include <vector>

#include "host/macho/format.h"
#include "host/macho/load_object.h"
#include "host/macho/object_error.h"

namespace host::macho {

bool IsMachO(const std::filesystem::path& path) {
    std::uint32_t magic = 0;
    std::ifstream stream(path, std::ios::binary);
    stream.read(reinterpret_cast<char*>(&magic), sizeof magic);
    // Only this byte order, because no other can run here.
    return stream && (magic == format::kMagic32 || magic == format::kMagic64);
}

LoadedObject LoadObject(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) throw ObjectError("file", "it cannot be read");
    return LoadObject(std::span(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
}

}  // namespace host::macho
