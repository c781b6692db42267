// presets.cpp - lists, reads and writes recipe files.

#include "host/studio/presets.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/write_file.h"
#include "host/studio/open_files.h"

namespace studio {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kSuffix = ".recipe";
constexpr std::size_t kMostPresets = 500;

std::vector<fs::path> RecipesIn(const fs::path& folder) {
    std::vector<fs::path> found;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().extension() == kSuffix && entry.is_regular_file(error)) found.push_back(entry.path());
    }
    std::ranges::sort(found);
    if (found.size() > kMostPresets) found.resize(kMostPresets);
    return found;
}

std::string TextOf(const fs::path& path) {
    constexpr std::size_t kLargest = 1 << 20;
    std::ifstream file(path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    return text.substr(0, kLargest);
}

// The first comment of a recipe.
std::string AboutText(const std::string& text) {
    const std::size_t begin = text.find("\n# ");
    if (begin == std::string::npos) return "";
    constexpr std::size_t kMark = 3;
    return text.substr(begin + kMark, text.find('\n', begin + kMark) - begin - kMark);
}

}  // namespace

Json Presets::List() const {
    Json list = Json::array();
    for (const bool isOwn : {false, true}) {
        for (const fs::path& path : RecipesIn(isOwn ? own_ : shared_)) {
            list.push_back({{"name", path.stem().string()}, {"isOwn", isOwn}, {"about", AboutText(TextOf(path))}});
        }
    }
    return list;
}

std::string Presets::Read(const std::string& name, bool isOwn) const {
    for (const fs::path& path : RecipesIn(isOwn ? own_ : shared_)) {
        if (path.stem() == name) return isOwn ? TextOf(path) : "zeva apply '" + path.filename().string() + "'";
    }
    return "";
}

std::string Presets::Keep(const std::string& name, const std::string& recipe) const {
    if (own_.empty()) return "there is no folder for presets: HOME is not set";
    if (SafeName(name) != name || name.empty()) return "'" + name + "' cannot be the name of a file";
    std::error_code error;
    fs::create_directories(own_, error);
    try {
        host::WriteFile(own_ / (name + kSuffix), recipe);
    } catch (const host::HostError& failure) {
        return failure.what();
    }
    return "";
}

void Presets::Delete(const std::string& name) const {
    for (const fs::path& path : RecipesIn(own_)) {
        std::error_code error;
        if (path.stem() == name) fs::remove(path, error);
    }
}

}  // namespace studio
