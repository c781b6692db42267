// object_path.cpp - recognizes and loads object files and bundles by path.

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "host/macho/format.h"
#include "host/macho/load_object.h"
#include "host/macho/object_error.h"

namespace host::macho {

namespace {

std::vector<LoadedRange> loadedRanges;

// The text between two others, the second after the first; empty without them.
std::string Between(const std::string& text, const std::string& before, const std::string& after, std::size_t from) {
    const std::size_t begin = text.find(before, from);
    if (begin == std::string::npos) return "";
    const std::size_t end = text.find(after, begin + before.size());
    return end != std::string::npos ? text.substr(begin + before.size(), end - begin - before.size()) : "";
}

}  // namespace

std::filesystem::path CodeFile(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_directory(path, error)) return path;
    const std::filesystem::path properties = path / "Contents" / "Info.plist";
    std::ifstream stream(properties);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) throw ObjectError("folder", "it is not a bundle: it has no Contents/Info.plist that can be read");
    const std::size_t key = text.find("<key>CFBundleExecutable</key>");
    const std::string name = key != std::string::npos ? Between(text, "<string>", "</string>", key) : "";
    if (name.empty() || name == ".." || name.find('/') != std::string::npos) {
        throw ObjectError("Contents/Info.plist", "its key CFBundleExecutable does not name a file");
    }
    const std::filesystem::path file = path / "Contents" / "MacOS" / name;
    if (!std::filesystem::exists(file, error)) throw ObjectError("Contents/MacOS/" + name, "no such file");
    return file;
}

bool IsMachO(const std::filesystem::path& file) {
    std::uint32_t magic = 0;
    std::ifstream stream(file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(&magic), sizeof magic);
    // Only this byte order, because no other can run here.
    return stream && (magic == format::kMagic32 || magic == format::kMagic64);
}

LoadedObject LoadObject(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) throw ObjectError("file", "it cannot be read");
    LoadedObject loaded = LoadObject(std::span(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
    loadedRanges.push_back({file, loaded.base, loaded.size});
    return loaded;
}

const std::vector<LoadedRange>& LoadedRanges() { return loadedRanges; }

}  // namespace host::macho
