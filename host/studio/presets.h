// presets.h - recipes to choose from: those that come with the program, and the user's own.
//
// A preset is a recipe file; its name is that of the file without its suffix. The texts are not parsed here. Paths
// never come from the page: a name is looked up in a list of the folder.
//
// Threads: any; the folders are read each time.

#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

namespace studio {

class Presets {
  public:
    // Either folder may be missing.
    Presets(std::filesystem::path shared, std::filesystem::path own)
        : shared_(std::move(shared)), own_(std::move(own)) {}

    // Returns all presets: name, isOwn, and about, the first comment of the file.
    [[nodiscard]] nlohmann::ordered_json List() const;

    // Returns a text that stands for a preset: the recipe itself, or for one of the program the command that names it,
    // because its files lie beside it. Empty when there is none.
    [[nodiscard]] std::string Read(const std::string& name, bool isOwn) const;

    // Writes a preset of the user's own. Returns why that failed; empty when it did not.
    [[nodiscard]] std::string Keep(const std::string& name, const std::string& recipe) const;

    // Removes a preset of the user's own.
    void Delete(const std::string& name) const;

  private:
    std::filesystem::path shared_;
    std::filesystem::path own_;
};

}  // namespace studio
